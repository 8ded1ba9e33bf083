// The Facebook calls without an upload: the requests that they compose, and the values that they read from
// replies.
#include <cstring>

#include "support/facebook_fixture.h"

namespace velk::test {
namespace {

class FacebookReplies : public FacebookTest {};

TEST_F(FacebookReplies, ReadsTheExchangedToken) {
  struct Row {
    const char* name;
    std::string body;
    std::string token;
    uint32_t lifetime;  // 99: unchanged
  };
  const Row rows[] = {
      {"both", R"({"access_token":"abc","token_type":"bearer","expires_in":5183944})", "abc", 5183944},
      {"no lifetime", R"({"access_token":"abc","token_type":"bearer"})", "abc", 99},
      {"no token", R"({"token_type":"bearer","expires_in":7})", "", 7},
      {"space after the colon", R"({"access_token": "abc"})", ": ", 99},
      {"form-encoded", "access_token=abc&expires=5", "", 99},
      {"nothing after the name", R"({"access_token")", "", 99},
      {"lifetime above 31 bits", R"({"expires_in":4000000000,"access_token":"a"})", "a", 4000000000},
      {"negative lifetime", R"({"expires_in":-1,"access_token":"a"})", "a", 4294967295},
      {"long reply", R"({"x":")" + Repeat('x', 5000) + R"(","access_token":"abc","expires_in":1})", "abc", 1},
      {"long token", R"({"access_token":")" + Repeat('t', 1500) + "\"}", Repeat('t', 1023), 99},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    uint32_t length = 77;
    uint32_t lifetime = 99;
    text[1024] = '#';
    sandbox.Add({.body = row.body});
    EXPECT_EQ(ExangeFacebookAccessToken("a", "s", "t", text, &length, &lifetime), VELK_OK);
    EXPECT_EQ(text, row.token);
    EXPECT_EQ(length, row.token.size());
    EXPECT_EQ(lifetime, row.lifetime);
    EXPECT_EQ(text[1024], '#');
  }
  uint32_t length = 0;
  sandbox.Add({.body = rows[0].body});
  EXPECT_EQ(ExangeFacebookAccessToken("a", "s", Repeat('t', 4000).c_str(), text, &length, nullptr), VELK_OK);
  EXPECT_TRUE(sandbox.Requests().back().Query().ends_with(Repeat('t', 4000)));
}

TEST_F(FacebookReplies, ReadsTheNameButNoEmail) {
  const std::pair<std::string, std::string> rows[] = {
      {R"({"id":"1","name":"Vera Velk","email":"v@velk.example"})", "Vera Velk"},
      {R"({"email":"v@velk.example","name":"Vera"})", "Vera"},
      {R"({"name":"Vera"})", "Vera"},
      {R"({"email":"v@velk.example"})", ""},
      {R"({"name":"V\u00e9ra \/ \"V\""})", R"(V\u00e9ra \/ \)"},
      {R"({"name":12,"email":"e"})", ":12,"},
      {R"({"name":")" + Repeat('n', 2000) + "\"}", Repeat('n', 1023)},
  };
  for (const auto& [body, name] : rows) {
    SCOPED_TRACE(body);
    char email[1024] = "untouched";
    int32_t nameSize = 1;
    int32_t emailSize = -1;
    text[1024] = '#';
    sandbox.Add({.body = body});
    EXPECT_EQ(GetFacebookUserNameEmail("t", text, &nameSize, email, &emailSize), VELK_OK);
    EXPECT_EQ(text, name);
    EXPECT_STREQ(email, "");
    EXPECT_EQ(nameSize, 1) << "the sizes are ignored on success";
    EXPECT_EQ(emailSize, -1);
    EXPECT_EQ(text[1024], '#');
  }
  char email[1024] = "";
  sandbox.Add({.body = rows[0].first});
  EXPECT_EQ(GetFacebookUserNameEmail("t", text, nullptr, email, nullptr), VELK_OK);
}

TEST_F(FacebookReplies, ReportsWhetherATokenIsValid) {
  uint32_t valid = 7;
  EXPECT_EQ(CheckFacebookAccessTokenValid("app", "token", &valid), VELK_OK);
  EXPECT_EQ(valid, 1U);
  EXPECT_EQ(CheckFacebookAccessTokenValid("app", "expired", &valid), VELK_OK);
  EXPECT_EQ(valid, 0U);
  for (const char* undecided : {R"({"error":{"type":"GraphMethodException"}})", R"({"type":"OAuth)", ""}) {
    valid = 7;
    sandbox.Add({.status = 400, .body = undecided});
    EXPECT_EQ(CheckFacebookAccessTokenValid("app", "token", &valid), VELK_UNEXPECTED_REPLY) << undecided;
    EXPECT_EQ(valid, 0U);
  }
}

// Three results leave their request allocated until the process exits. None may leave a connection open.
TEST_F(FacebookReplies, ClosesTheConnectionOfAnAbandonedRequest) {
  const Script identified{.body = R"({"id":"1","object_id":"2"})"};
  info.updateKind = 1;
  uint32_t valid = 7;
  const struct {
    const char* name;
    int32_t result;
    std::function<int32_t()> call;
  } rows[] = {
      {"valid token", VELK_OK, [&] { return CheckFacebookAccessTokenValid("app", "token", &valid); }},
      {"photo with rejected privacy", VELK_PRIVACY_NOT_UPDATED,
       [this] { return StartFacebookUploadPhoto(uploader, "token", &info, text); }},
      {"object with rejected privacy", VELK_PRIVACY_NOT_UPDATED,
       [this] { return SetFacebookUpdateInfo("token", "1_2", &info); }},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    sandbox.Reset();
    sandbox.Add(identified);
    sandbox.Add({.status = 500});
    EXPECT_EQ(row.call(), row.result);
    EXPECT_TRUE(sandbox.WaitFor([](const std::vector<Request>& requests) {
      return std::ranges::none_of(requests, &Request::connectionOpen);
    }));
  }
}

TEST_F(FacebookReplies, ComposesThePostBody) {
  struct Row {
    std::string link;
    std::string message;
    std::string body;
  };
  const std::string privacy = "&privacy={'value': 'SELF'}";
  const std::string longLink = Repeat('l', sizeof info.link);
  const std::string longMessage = Repeat('m', sizeof info.description);
  const Row rows[] = {
      {"http://l/", "m", "message=m&link=http://l/" + privacy},
      {"http://l/", "", "link=http://l/" + privacy},
      {"http://l/", "NULL", "link=http://l/" + privacy},
      {"", "m", "message=m" + privacy},
      {"", "NULL", "message=NULL" + privacy},
      {"NULL", "m", "message=m" + privacy},
      {"NULL", "NULL", "message=NULL" + privacy},
      {"NULL", "", "link=NULL" + privacy},
      {"NULLs", "null", "message=null&link=NULLs" + privacy},
      {longLink, longMessage, "message=" + longMessage + "&link=" + longLink + privacy},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.body.substr(0, 40));
    sandbox.Reset();
    sandbox.Add({.body = R"({"id":"1_2"})"});
    Fill(info.link, row.link);
    Fill(info.description, row.message);
    EXPECT_EQ(PostFacebookComment("t", &info, text), VELK_OK);
    EXPECT_STREQ(text, "1_2");
    EXPECT_EQ(sandbox.Only().body, row.body);
  }
  *info.link = *info.description = '\0';
  EXPECT_EQ(PostFacebookComment("t", &info, text), VELK_MISSING_ARGUMENT);
}

TEST_F(FacebookReplies, PostsToMeUnlessTheTargetStartsWithANonZeroNumber) {
  std::vector<std::pair<std::string, std::string>> rows;
  for (const char* none : {"", "0", "-000", "NULL", "abc1", "0x1", "+-1"}) rows.emplace_back(none, "me");
  for (const char* node : {"123abc", "007", "-5", "+5", "4294967296", "104000000000001"})
    rows.emplace_back(node, node);
  rows.emplace_back(Repeat('1', 260), Repeat('1', 260));
  for (const auto& [target, node] : rows) {
    SCOPED_TRACE(target);
    sandbox.Reset();
    sandbox.Add({.body = R"({"id":"1"})"});
    Fill(info.targetId, target);
    EXPECT_EQ(PostFacebookComment("t", &info, text), VELK_OK);
    EXPECT_EQ(sandbox.Only().Path(), "/" + node + "/feed");
  }
}

TEST_F(FacebookReplies, PairsPageIdsAndNamesByOrder) {
  struct Row {
    const char* name;
    std::string body;
    std::string pages;  // "id=name;" each; empty when there are none
  };
  const std::string one = R"([{"id":"1","name":"A"}])";
  const Row rows[] = {
      {"none", R"({"data":[]})", ""},
      {"two", R"({"data":[{"name":"A","id":"1"},{"id":"2","name":"B"}]})", "1=A;2=B;"},
      {"category before the page", R"([{"list":[{"id":"22","name":"X"}],"name":"A","id":"1"}])", "22=X;1=A;"},
      {"category inside the page", R"([{"name":"A","list":[{"id":"22","name":"X"}],"id":"1"}])", "22=A;1=X;"},
      {"missing name", R"([{"id":"1"},{"id":"2","name":"B"}])", "1=B;2=;"},
      {"numeric id", R"([{"id":"1","name":"A"},{"id":2,"name":"B"},{"id":"3","name":"C"}])", "1=A;"},
      {"only a numeric id", R"([{"id":2,"name":"B"}])", ""},
      {"numeric id before a brace", R"([{"name":"A","id":22},{"name":"B","id":"1"}])", "name=A;1=;"},
      {"numeric name", R"([{"id":"1","name":12345,"x":"y"}])", "1=x2345;"},
      {"name equal to 'id'", R"([{"name":"id","id":"1"}])", ""},
      {"escapes", R"([{"id":"1","name":"Caf\u00e9 X"},{"id":"2","name":"\"B\""}])", "1=Caf;2=;"},
      {"malformed list", R"([{"id":"1","name":"A"},oops{"id":"2","name":"B"}])", "1=A;"},
      {"truncated reply", R"([{"id":"1","name":"A"},{"id":"2","name":"B)", "1=A;2=;"},
      {"NUL byte", one.substr(0, 22) + std::string(",\0", 2) + R"({"id":"2"}])", "1=A;"},
      {"long strings", R"([{"name":")" + Repeat('n', 1100) + R"(","id":")" + Repeat('1', 300) + "\"}]",
       Repeat('1', 259) + '=' + Repeat('n', 1023) + ';'},
      {"largest reply", one + Repeat(' ', 10240 - one.size()), "1=A;"},
      {"identifier at the end of the largest reply", R"([{"x":")" + Repeat('x', 10221) + R"("},{"id":"1")",
       "1=;"},
  };
  FacebookPage marker{};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    FacebookPage* pages = &marker;
    int32_t count = -7;
    sandbox.Add({.body = row.body});
    ASSERT_EQ(GetFacebookUserPagesList("t", &pages, &count), row.pages.empty() ? VELK_NO_PAGES : VELK_OK);
    std::string listed;
    for (int32_t index = 0; index < count; ++index)
      listed += std::string(pages[index].id) + '=' + pages[index].name + ';';
    EXPECT_EQ(listed, row.pages);
    EXPECT_EQ(pages == &marker, row.pages.empty()) << "unchanged when there are no pages";
    if (row.pages.empty()) continue;
    EXPECT_EQ(FreeFacebookUserPagesList(&pages), VELK_OK);
    EXPECT_EQ(pages, nullptr);
  }
  FacebookPage* pages = &marker;
  int32_t count = -7;
  sandbox.Add({.body = one + Repeat(' ', 10241 - one.size())});
  EXPECT_EQ(GetFacebookUserPagesList("t", &pages, &count), VELK_BUFFER_TOO_SMALL);
  EXPECT_EQ(count, -7);
  EXPECT_EQ(pages, &marker);
  sandbox.Add({.body = " ", .bodySize = 1 << 20});
  EXPECT_EQ(GetFacebookUserPagesList("t", &pages, &count), VELK_BUFFER_TOO_SMALL);
  EXPECT_EQ(GetFacebookUserPagesList("t", nullptr, &count), VELK_OK) << "from the simulated service";
  EXPECT_EQ(count, 4) << "two pages and one category of each";
}

TEST_F(FacebookReplies, UpdatesStepByStep) {
  struct Row {
    const char* name;
    uint32_t kind;
    std::vector<Script> replies;
    int32_t result;
    std::vector<std::string> arrived;
  };
  const std::string get = "GET graph.facebook.com/1_2";
  const std::string privacy = "POST graph.facebook.com/22 privacy={'value':'SELF'}";
  const std::string message = "POST graph.facebook.com/1_2 message=about a";
  const Script about{.body = R"({"id":"1_2","object_id":"22"})"};
  const Script rejected{.status = 400, .body = kRejectedToken};
  const Row rows[] = {
      {"message", 0, {{}}, VELK_OK, {message}},
      {"message rejected", 0, {rejected}, VELK_MESSAGE_NOT_UPDATED, {message}},
      {"all steps", 1, {about, {}, {}}, VELK_OK, {get, privacy, message}},
      {"no object", 1, {{.body = R"({"id":"1_2"})"}, {}}, VELK_OK, {get, message}},
      {"lookup rejected", 1, {rejected}, VELK_PRIVACY_NOT_UPDATED, {get}},
      {"privacy rejected", 1, {about, rejected}, VELK_PRIVACY_NOT_UPDATED, {get, privacy}},
      {"empty object identifier", 1, {{.body = R"({"object_id":""})"}}, VELK_PRIVACY_NOT_UPDATED, {get}},
      {"message rejected after the privacy",
       1,
       {about, {}, rejected},
       VELK_TEXT_NOT_UPDATED,
       {get, privacy, message}},
      {"description", 2, {{}}, VELK_OK, {"POST graph.facebook.com/1_2 description=about a"}},
      {"unknown kind", 3, {}, VELK_UNEXPECTED_REPLY, {}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    sandbox.Reset();
    for (const Script& reply : row.replies) sandbox.Add(reply);
    info.updateKind = row.kind;
    EXPECT_EQ(SetFacebookUpdateInfo("t", "1_2", &info), row.result);
    EXPECT_EQ(Arrived(), row.arrived);
  }
  sandbox.Reset();
  const int32_t missing[] = {VELK_MESSAGE_NOT_UPDATED, VELK_PRIVACY_NOT_UPDATED, VELK_TEXT_NOT_UPDATED,
                             VELK_UNEXPECTED_REPLY};
  for (info.updateKind = 0; info.updateKind < 4; ++info.updateKind) {
    EXPECT_EQ(SetFacebookUpdateInfo(nullptr, "1_2", &info), missing[info.updateKind]);
    EXPECT_EQ(SetFacebookUpdateInfo("t", nullptr, &info), missing[info.updateKind]);
  }
  EXPECT_TRUE(sandbox.Requests().empty());
}

TEST_F(FacebookReplies, WritesUrlsThatFit) {
  struct Row {
    const char* name;
    std::string value;  // the JSON after the member's name and colon
    int32_t size;
    int32_t result;
    std::string url;
    int32_t sizeAfter;
  };
  const std::string longUrl = "https://x/" + Repeat('y', 3000);
  const Row rows[] = {
      {"exact fit", "\"https://x/1\"", 12, VELK_OK, "https://x/1", 12},
      {"one byte short", "\"https://x/1\"", 11, VELK_BUFFER_TOO_SMALL, kUntouched, 12},
      {"zero size", "\"https://x/1\"", 0, VELK_BUFFER_TOO_SMALL, kUntouched, 12},
      {"negative size", "\"https://x/1\"", -1, VELK_OK, "https://x/1", -1},
      {"most negative size", "\"https://x/1\"", INT32_MIN, VELK_OK, "https://x/1", INT32_MIN},
      {"long URL that fits", '"' + longUrl + '"', 3011, VELK_OK, longUrl, 3011},
      {"long URL that does not fit", '"' + longUrl + '"', 1024, VELK_BUFFER_TOO_SMALL, kUntouched, 3011},
      {"missing member", "null", 1, VELK_OK, "", 1},
      {"missing member and zero size", "{}", 0, VELK_BUFFER_TOO_SMALL, kUntouched, 1},
      {"space after the colon", " \"https://x/1\"", 9, VELK_OK, ": ", 9},
      {"escapes", R"("https:\/\/x\/1")", 99, VELK_OK, R"(https:\/\/x\/1)", 99},
  };
  const std::pair<const char*, decltype(&GetFacebookPhotoUrl)> lookups[] = {
      {"link", GetFacebookPhotoUrl}, {"source", GetFacebookVideoEmbedUrl}};
  for (const auto& [member, lookUp] : lookups) {
    for (const Row& row : rows) {
      SCOPED_TRACE(std::string(member) + ": " + row.name);
      const std::string name = row.value.find('"') != std::string::npos ? member : "other";
      std::vector<char> out(4000);
      std::strcpy(out.data(), kUntouched);
      int32_t size = row.size;
      sandbox.Add({.body = "{\"id\":\"1\",\"" + name + "\":" + row.value + "}"});
      EXPECT_EQ(lookUp("t", "1", out.data(), &size), row.result);
      EXPECT_EQ(out.data(), row.url);
      EXPECT_EQ(size, row.sizeAfter);
    }
    sandbox.Add({.body = "{\"" + std::string(member) + "\":\"u\"}"});
    EXPECT_EQ(lookUp("t", "1", text, nullptr), VELK_OK);
    EXPECT_STREQ(text, "u");
  }
}

TEST_F(FacebookReplies, ComposesTheVideoPageUrlWithoutARequest) {
  struct Row {
    const char* name;
    int32_t size;
    int32_t result;
    int32_t sizeAfter;
  };
  const Row rows[] = {
      {"exact fit", 49, VELK_OK, 49},
      {"one byte short", 48, VELK_BUFFER_TOO_SMALL, 49},
      {"zero size", 0, VELK_BUFFER_TOO_SMALL, 49},
      {"negative size", -1, VELK_OK, -1},
  };
  const std::string url = "https://www.facebook.com/video/video.php?v=123";
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    char out[200];
    std::memset(out, '#', sizeof out);
    std::strcpy(out, Repeat('o', 90).c_str());
    int32_t size = row.size;
    EXPECT_EQ(GetFacebookVideoUrl("", "123", out, &size), row.result);
    const std::string kept = row.result == VELK_OK ? url : "";
    EXPECT_EQ(std::string(out, 92), kept + std::string(91 - kept.size(), '\0') + '#');
    EXPECT_EQ(size, row.sizeAfter);
  }
  EXPECT_EQ(GetFacebookVideoUrl("t", "123", text, nullptr), VELK_OK);
  EXPECT_EQ(text, url);
  EXPECT_TRUE(sandbox.Requests().empty());
}

}  // namespace
}  // namespace velk::test
