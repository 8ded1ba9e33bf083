// The cases that all bindings share.
#include <fstream>
#include <future>
#include <map>

#include "binding_fixture.h"

namespace velk::test {
namespace {

namespace fs = std::filesystem;
namespace json = boost::json;

using velk_upload::Options;
using Variables = std::map<std::string, std::string>;

const fs::path kSource = VELK_SOURCE;

json::value Read(const char* file) {
  std::ifstream stream(kSource / file, std::ios::binary);
  return json::parse(std::string((std::istreambuf_iterator<char>(stream)), {}));
}

struct Case {
  std::string name;
  std::vector<json::object> steps;
  Variables variables = {};
};

// The failing row is named in the test's name.
void PrintTo(const Case& one, std::ostream* stream) { *stream << one.name; }

std::vector<Case> ReadCases() {
  const json::value file = Read("tests/bindings/cases.json");
  std::vector<Case> cases;
  for (const json::value& value : file.at("cases").as_array()) {
    const json::object& object = value.as_object();
    Case one{json::value_to<std::string>(object.at("name")), {}};
    std::vector<json::value> steps{value};
    if (object.contains("steps")) steps = json::value_to<std::vector<json::value>>(object.at("steps"));
    for (const json::value& step : steps) {
      json::object values = file.at("defaults").at(step.at("call").as_string()).as_object();
      if (const json::value* with = step.as_object().if_contains("with"))
        for (const auto& [name, argument] : with->as_object()) values[name] = argument;
      one.steps.push_back(step.as_object());
      one.steps.back()["with"] = values;
    }
    if (!object.contains("each")) {
      cases.push_back(one);
      continue;
    }
    for (const json::value& row : file.at("strings").as_array()) {
      cases.push_back(one);
      cases.back().variables = json::value_to<Variables>(row);
      cases.back().name += ": " + cases.back().variables["name"];
    }
  }
  return cases;
}

std::string TextOr(const json::object& object, std::string_view member, std::string_view other = {}) {
  const json::value* value = object.if_contains(member);
  return value ? json::value_to<std::string>(*value) : std::string(other);
}

// With the values of variables, and what is repeated written out.
json::value Expand(const json::value& value, const Variables& variables) {
  if (const json::string* string = value.if_string()) {
    std::string text(*string);
    for (const auto& [name, replacement] : variables) {
      const std::string reference = "${" + name + "}";
      for (std::size_t at = 0; (at = text.find(reference, at)) != text.npos; at += replacement.size())
        text.replace(at, reference.size(), replacement);
    }
    return json::string(text);
  }
  if (const json::array* array = value.if_array()) {
    json::array expanded;
    for (const json::value& item : *array) expanded.push_back(Expand(item, variables));
    return expanded;
  }
  const json::object* object = value.if_object();
  if (!object) return value;
  if (object->contains("of")) {
    std::string text = TextOr(*object, "before");
    for (auto times = object->at("times").as_int64(); times > 0; --times) text += TextOr(*object, "of");
    return json::string(text + TextOr(*object, "then"));
  }
  json::object expanded;
  for (const auto& [name, member] : *object) expanded[name] = Expand(member, variables);
  return expanded;
}

// Sets the variable of a value, and those of its members.
void Save(const std::string& name, const json::value& value, Variables& variables) {
  variables[name] = value.is_string() ? json::value_to<std::string>(value) : json::serialize(value);
  if (value.is_object())
    for (const auto& [key, member] : value.as_object())
      Save(name + '.' + std::string(key), member, variables);
  if (value.is_array())
    for (std::size_t index = 0; index < value.as_array().size(); ++index)
      Save(name + '.' + std::to_string(index), value.as_array()[index], variables);
}

// An object may have more members than expected.
void Check(const json::value& actual, const json::value& expected, const std::string& where) {
  if (expected.is_object()) {
    for (const auto& [name, member] : expected.as_object())
      Check(actual.at(name), member, where + '.' + std::string(name));
  } else if (expected.is_array()) {
    ASSERT_EQ(actual.as_array().size(), expected.as_array().size()) << where;
    for (std::size_t index = 0; index < expected.as_array().size(); ++index)
      Check(actual.as_array()[index], expected.as_array()[index], where + '.' + std::to_string(index));
  } else {
    EXPECT_EQ(actual, expected) << where;
  }
}

// The folder of the cases, with their files. It is the current one until the destructor deletes it.
class CaseFolder {
 public:
  CaseFolder() {
    fs::create_directory(path_);
    fs::current_path(path_);
    const fs::path media = kSource / "examples/media";
    fs::copy(media / "clip.mp4", "clip.mp4");
    for (const char* name : {"photo.jpg", "it's.jpg", "large.jpg", "too large.jpg"})
      fs::copy(media / "photo.jpg", name);
    fs::resize_file("large.jpg", 3'000'000);
    fs::resize_file("too large.jpg", 5'242'881);
  }
  ~CaseFolder() { fs::current_path(before_); }
  CaseFolder(CaseFolder&&) = delete;
  CaseFolder& operator=(CaseFolder&&) = delete;

  std::string Path() const {
    const std::u8string text = path_.u8string();
    return {text.begin(), text.end()};
  }

 private:
  fs::path before_ = fs::current_path();
  TempFile file_{"file", ""};  // its folder is deleted with it
  fs::path path_ = file_.File().parent_path() / u8"我的 & пр 😀";
};

class BindingCases : public BindingTest, public testing::WithParamInterface<Case> {
 protected:
  void RunStep(const json::object& step, Variables& variables);
  json::value Call(const std::string& function, const json::object& values, const std::string& cancel);
  json::value Facebook(std::string_view function, const json::object& values, const Options& options);
  json::value Twitter(std::string_view function, const json::object& values, const Options& options);
  json::value Youtube(std::string_view function, const json::object& values, const Options& options);
  void ExpectFailure(const velk_upload::Error& error, const std::string& name);

  CaseFolder folder;
};

json::value BindingCases::Facebook(std::string_view function, const json::object& values,
                                   const Options& options) {
  const auto text = [&](std::string_view name) { return TextOr(values, name); };
  const auto given = [&](std::string_view name) {
    return values.contains(name) ? std::optional(text(name)) : std::nullopt;
  };
  auto& facebook = library.facebook;
  const std::string token = text("token"), id = text("id");
  if (function == "exchangeToken") {
    const auto exchanged = facebook.ExchangeToken(text("appId"), text("appSecret"), token);
    return {{"token", exchanged.token}, {"seconds", exchanged.lifetime.value().count()}};
  }
  if (function == "checkToken") return facebook.CheckToken(text("appId"), token);
  if (function == "user") {
    const auto user = facebook.User(token);
    return {{"name", user.name}, {"email", user.email}};
  }
  if (function == "pages") {
    json::array pages;
    for (const auto& page : facebook.Pages(token)) pages.push_back({{"id", page.id}, {"name", page.name}});
    return pages;
  }
  if (function == "uploadVideo")
    return json::string(facebook.UploadVideo(token,
                                             {.file = FromUtf8(text("file")),
                                              .title = text("title"),
                                              .description = text("description"),
                                              .privacy = text("privacy"),
                                              .target = text("target")},
                                             options));
  if (function == "uploadPhoto")
    return json::string(facebook.UploadPhoto(token,
                                             {.file = FromUtf8(text("file")),
                                              .message = text("message"),
                                              .privacy = text("privacy"),
                                              .target = text("target")},
                                             options));
  if (function == "post")
    return json::string(facebook.Post(token, {.message = text("message"),
                                              .link = text("link"),
                                              .privacy = text("privacy"),
                                              .target = text("target")}));
  if (function == "photoUrl") return json::string(facebook.PhotoUrl(token, id));
  if (function == "videoUrl") return json::string(facebook.VideoUrl(id));
  if (function == "videoEmbedUrl") return json::string(facebook.VideoEmbedUrl(token, id));
  EXPECT_EQ(function, "update");
  facebook.Update(
      token, id,
      {.message = given("message"), .privacy = given("privacy"), .description = given("description")});
  return nullptr;
}

json::value BindingCases::Twitter(std::string_view function, const json::object& values,
                                  const Options& options) {
  const auto text = [&](std::string_view name) { return TextOr(values, name); };
  const velk_upload::Consumer consumer{text("key"), text("secret")};
  const velk_upload::TwitterUser user{text("userToken"), text("userSecret"), "7", "velk"};
  if (function == "signIn") {
    const auto page = library.twitter.SignIn(consumer);
    return {{"url", page.url}, {"requestToken", page.requestToken}};
  }
  if (function == "finishSignIn") {
    const auto signedIn = library.twitter.FinishSignIn(consumer, text("requestToken"), text("pin"));
    return {{"token", signedIn.token},
            {"tokenSecret", signedIn.tokenSecret},
            {"id", signedIn.id},
            {"screenName", signedIn.screenName}};
  }
  if (function == "uploadPhoto") {
    library.twitter.UploadPhoto(consumer, user, {.file = FromUtf8(text("file")), .text = text("text")},
                                options);
    return nullptr;
  }
  EXPECT_EQ(function, "tweet");
  std::vector<std::string> media;
  if (values.contains("mediaIds")) media = json::value_to<std::vector<std::string>>(values.at("mediaIds"));
  library.twitter.Tweet(consumer, user, text("text"), media);
  return nullptr;
}

json::value BindingCases::Youtube(std::string_view function, const json::object& values,
                                  const Options& options) {
  velk_upload::YoutubeVideo video;
  video.file = FromUtf8(TextOr(values, "file"));
  video.title = TextOr(values, "title");
  video.description = TextOr(values, "description");
  video.privacy = TextOr(values, "privacy", video.privacy);
  video.category = TextOr(values, "category", video.category);
  if (values.contains("tags")) video.tags = json::value_to<std::vector<std::string>>(values.at("tags"));
  if (function == "upload")
    return json::string(library.youtube.Upload(TextOr(values, "token"), video, options));
  EXPECT_EQ(function, "update");
  library.youtube.Update(TextOr(values, "token"), TextOr(values, "id"), video);
  return nullptr;
}

json::value BindingCases::Call(const std::string& function, const json::object& values,
                               const std::string& cancel) {
  if (function == "getProxy") return json::string(library.Proxy());
  if (function == "setProxy") {
    library.SetProxy(TextOr(values, "url"));
    return nullptr;
  }
  if (function == "requests") {
    std::string reply;
    sandbox.Control("GET", "/requests", {}, reply);
    return json::parse(reply);
  }
  const auto dot = function.find('.');
  const std::string service = function.substr(0, dot), name = function.substr(dot + 1);
  if (function == "stored") {
    const std::string kind = TextOr(values, "kind");
    return Stored(kind.substr(0, kind.find('.')), kind.substr(kind.find('.') + 1));
  }

  std::stop_source source;
  Options options;
  if (!cancel.empty()) options.stop = source.get_token();
  if (cancel == "before") source.request_stop();
  if (cancel == "sent")
    options.progress = [&](std::uint64_t sent, std::uint64_t) {
      if (sent > 0) source.request_stop();
    };
  std::future<void> watcher;
  if (cancel.starts_with('/'))
    watcher = std::async(std::launch::async, [&] {
      EXPECT_TRUE(sandbox.WaitForRequest(cancel));
      source.request_stop();
    });
  json::value result = service == "facebook"  ? Facebook(name, values, options)
                       : service == "twitter" ? Twitter(name, values, options)
                                              : Youtube(name, values, options);
  source.request_stop();
  return result;
}

void BindingCases::ExpectFailure(const velk_upload::Error& error, const std::string& name) {
  static const json::value kResults = Read("docs/result_codes.json");
  const json::array& results = kResults.as_array();
  const auto result = std::ranges::find_if(
      results, [&](const json::value& one) { return one.at("name").as_string() == name; });
  ASSERT_NE(result, results.end()) << name;
  const auto text = [&](const char* member) { return json::value_to<std::string>(result->at(member)); };
  EXPECT_EQ(error.Name(), name);
  EXPECT_EQ(error.Code(), result->at("code").as_int64());
  EXPECT_EQ(error.Meaning(), text("meaning"));
  EXPECT_EQ(error.Advice(), text("advice"));
  EXPECT_EQ(error.Partial(), error.Code() > 0);
  EXPECT_EQ(error.what(), name + " (" + std::to_string(error.Code()) + "): " + text("meaning"));
}

void BindingCases::RunStep(const json::object& step, Variables& variables) {
  if (const json::value* scripts = step.if_contains("scripts"))
    for (const json::value& script : scripts->as_array()) {
      std::string reply;
      ASSERT_EQ(sandbox.Control("POST", "/scripts", json::serialize(Expand(script, variables)), reply), 200)
          << reply;
    }
  const std::string function = TextOr(step, "call");
  const json::value values = Expand(step.at("with"), variables);
  std::string failure, refusal;
  try {
    const json::value result = Call(function, values.as_object(), TextOr(step, "cancel"));
    Save(TextOr(step, "as", "result"), result, variables);
    if (const json::value* expected = step.if_contains("returns"))
      Check(result, Expand(*expected, variables), function);
  } catch (const velk_upload::Error& error) {
    failure = error.Name();
    ExpectFailure(error, failure);
  } catch (const velk_upload::ValueError& error) {
    refusal = error.what();
  }
  EXPECT_EQ(failure, TextOr(step, "fails"));
  EXPECT_NE(refusal.find(TextOr(step, "refused")), refusal.npos) << refusal;
  EXPECT_EQ(refusal.empty(), !step.contains("refused")) << refusal;
  if (step.contains("requests")) {
    EXPECT_EQ(sandbox.Requests().size(), json::value_to<std::size_t>(step.at("requests")));
  }
}

TEST_P(BindingCases, Pass) {
  Variables variables = GetParam().variables;
  variables["folder"] = folder.Path();
  variables["proxy"] = sandbox.Proxy();
  for (const json::object& step : GetParam().steps) {
    SCOPED_TRACE(GetParam().name + ", " + TextOr(step, "call"));
    RunStep(step, variables);
  }
}

INSTANTIATE_TEST_SUITE_P(, BindingCases, testing::ValuesIn(ReadCases()));

}  // namespace
}  // namespace velk::test
