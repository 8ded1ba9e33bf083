// The record of exchanges: filters, questions whether a request arrived, and the export as an archive.
#include <gmock/gmock.h>

#include "support/http.h"

namespace velk::test {
namespace {

namespace json = boost::json;

const std::string kGraph = "graph.facebook.com";
constexpr const char* kForm = "Content-Type: application/x-www-form-urlencoded";

class SandboxRequests : public testing::Test {
 protected:
  // Five exchanges with the statuses 200, 400, 200, 404 and 400.
  SandboxRequests() {
    Send(sandbox, {"GET", kGraph + "/me?access_token=t&fields=id"});
    Send(sandbox, {"GET", kGraph + "/me"});
    Send(sandbox, {"POST", kGraph + "/me/feed", {kForm}, "access_token=t&message=hello%20world"});
    Send(sandbox, {"GET", "api.twitter.com/1.1/nothing.json"});
    Send(sandbox, {"DELETE", kGraph + "/12?access_token=t"});
  }
  std::pair<long, json::value> Call(const char* method, std::string_view path, std::string_view body = {}) {
    std::string reply;
    const long status = sandbox.Control(method, path, body, reply);
    return {status, json::parse(reply)};
  }
  json::value Get(std::string_view path) { return Call("GET", path).second; }
  json::value Verify(std::string_view description) { return Call("POST", "/verify", description).second; }

  std::string Ids(const std::string& query) {
    std::string ids;
    const json::value selected = Get("/requests?" + query);
    for (const json::value& request : selected.as_array())
      ids += std::to_string(request.at("id").to_number<int>());
    return ids;
  }

  Sandbox sandbox;
};

TEST_F(SandboxRequests, AreFiltered) {
  const struct {
    const char* query;
    const char* ids;
  } rows[] = {
      {"", "12345"},
      {"host=api.twitter.com", "4"},
      {"host=*.TWITTER.com", "4"},
      {"method=GET", "124"},
      {"path=/me", "12"},
      {"path=/me*", "123"},
      {"status=4*", "245"},
      {"status=404", "4"},
      {"status=0", ""},
      {"since=3", "45"},
      {"since=5", ""},
      {"limit=2", "45"},
      {"method=GET&status=200", "1"},
      {"brief=1&since=4", "5"},
  };
  for (const auto& row : rows) EXPECT_EQ(Ids(row.query), row.ids) << row.query;
  EXPECT_EQ(Call("GET", "/requests?since=x").first, 400);
  EXPECT_EQ(Call("GET", "/requests?hots=a").second.at("error"), "unknown parameter in the query: hots");
}

TEST_F(SandboxRequests, AreShownOneByOneAndInBrief) {
  EXPECT_EQ(Get("/requests/3").at("body"), "access_token=t&message=hello%20world");
  EXPECT_EQ(Call("GET", "/requests/6").first, 404);
  EXPECT_EQ(Call("GET", "/requests/0").first, 404);
  const json::value brief = Get("/requests?brief=1").at(3);
  EXPECT_FALSE(brief.as_object().contains("rawHead") || brief.as_object().contains("replyHead"));
  EXPECT_EQ(brief.at("target"), "/1.1/nothing.json");
  EXPECT_THAT(std::string(brief.at("reason").as_string()), testing::HasSubstr("/1.1/nothing.json"));
}

TEST_F(SandboxRequests, AreVerified) {
  const json::value found = Verify(R"({"host": "graph.*", "withQuery": {"access_token": "t"}})");
  EXPECT_EQ(json::serialize(found), R"({"arrived":true,"count":2,"ids":[1,5]})");
  const struct {
    const char* name;
    const char* description;
    const char* nearest;
  } rows[] = {
      {"path", R"({"method": "POST", "path": "/me/fed"})",
       R"({"id":3,"differs":[{"member":"path","expected":"/me/fed","received":"/me/feed"}]})"},
      {"value in the query", R"({"path": "/me", "withQuery": {"fields": "name"}})",
       R"({"id":1,"differs":[{"member":"withQuery.fields","expected":"name","received":"id"}]})"},
      {"value in the form", R"({"withForm": {"message": "hello word"}})",
       R"({"id":3,"differs":[{"member":"withForm.message","expected":"hello word","received":"hello world"}]})"},
      {"fewest differences", R"({"host": "api.twitter.com", "method": "PUT", "path": "/1.1/nothing.json"})",
       R"({"id":4,"differs":[{"member":"method","expected":"PUT","received":"GET"}]})"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const json::value result = Verify(row.description);
    EXPECT_EQ(result.at("arrived"), false);
    EXPECT_EQ(json::serialize(result.at("nearest")), row.nearest);
  }
  EXPECT_EQ(Verify(R"({"status": 200})").at("error"), "status: it does not describe a request");
  sandbox.Reset();
  EXPECT_TRUE(Verify("{}").at("nearest").is_null());
}

TEST_F(SandboxRequests, AreExportedAsAnArchive) {
  const json::value log = Get("/har").at("log");
  EXPECT_EQ(log.at("version"), "1.2");
  EXPECT_TRUE(log.at("creator").as_object().contains("version"));
  ASSERT_EQ(log.at("entries").as_array().size(), 5U);
  // The members that the format demands of each entry.
  const std::pair<const char*, std::vector<const char*>> demanded[] = {
      {"", {"startedDateTime", "time", "request", "response", "cache", "timings"}},
      {"/request",
       {"method", "url", "httpVersion", "cookies", "headers", "queryString", "headersSize", "bodySize"}},
      {"/response",
       {"status", "statusText", "httpVersion", "cookies", "headers", "content", "redirectURL", "headersSize",
        "bodySize"}},
      {"/response/content", {"size", "mimeType"}},
      {"/timings", {"send", "wait", "receive"}},
  };
  for (const json::value& entry : log.at("entries").as_array()) {
    for (const auto& [pointer, names] : demanded) {
      for (const char* name : names)
        EXPECT_TRUE(entry.at_pointer(pointer).as_object().contains(name)) << name;
    }
  }
  const json::value& post = log.at("entries").at(2);
  EXPECT_EQ(post.at_pointer("/request/url"), "http://graph.facebook.com/me/feed");
  EXPECT_EQ(json::serialize(post.at_pointer("/request/postData/params/1")),
            R"({"name":"message","value":"hello world"})");
  EXPECT_EQ(post.at_pointer("/response/statusText"), "OK");
  EXPECT_EQ(post.at_pointer("/response/content/text"), Get("/requests/3").at("replyBody"));
  EXPECT_EQ(log.at("entries").at(1).at("_reason"), Get("/requests/2").at("reason"));
}

}  // namespace
}  // namespace velk::test
