// Scripts match on every part of a request, can be listed, changed and removed, and name what is wrong with
// them.
#include <gmock/gmock.h>

#include "support/http.h"

namespace velk::test {
namespace {

namespace json = boost::json;
using testing::HasSubstr;

constexpr const char* kForm = "Content-Type: application/x-www-form-urlencoded";
constexpr const char* kMultipart = "Content-Type: multipart/form-data; boundary=b";
const std::string kFeed = "graph.facebook.com/v1.0/me/feed";

class SandboxScriptControl : public testing::Test {
 protected:
  // The status of the reply, and the reply as a document.
  std::pair<long, json::value> Call(const char* method, std::string_view path, std::string_view body = {}) {
    std::string reply;
    const long status = sandbox.Control(method, path, body, reply);
    return {status, json::parse(reply)};
  }
  json::value Get(std::string_view path) { return Call("GET", path).second; }

  Sandbox sandbox;
};

TEST_F(SandboxScriptControl, MatchesEveryPartOfARequest) {
  const HttpRequest request{
      "POST", kFeed + "?a=1&b=%C3%A9", {kForm, "X-Test: one two"}, "command=APPEND&text=a%20b"};
  const struct {
    const char* name;
    Script script;
    bool matches;
  } rows[] = {
      {"nothing", {}, true},
      {"host", {.host = "Graph.*"}, true},
      {"one of several hosts", {.host = "api.twitter.com, graph.facebook.com"}, true},
      {"none of several hosts", {.host = "api.twitter.com,api.x.com"}, false},
      {"other host", {.host = "graph.*.net"}, false},
      {"method", {.method = "POST"}, true},
      {"other method", {.method = "PUT"}, false},
      {"path", {.path = "/*/feed"}, true},
      {"other path", {.path = "/*/feed/*"}, false},
      {"query", {.withQuery = {{"b", "\u00E9"}, {"a", "*"}}}, true},
      {"other value in the query", {.withQuery = {{"a", "2"}}}, false},
      {"absent in the query", {.withQuery = {{"a", "1"}, {"c", "*"}}}, false},
      {"header", {.withHeaders = {{"x-test", "one*"}}}, true},
      {"other header", {.withHeaders = {{"X-Test", "two"}}}, false},
      {"form", {.withForm = {{"text", "a b"}}}, true},
      {"other form", {.withForm = {{"text", "a%20b"}}}, false},
      {"body", {.withBody = "APPEND&text"}, true},
      {"other body", {.withBody = "append"}, false},
      {"all", {.host = "*", .path = "*", .withQuery = {{"a", "1"}}, .withBody = "text"}, true},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    sandbox.Reset();
    Script script = row.script;
    script.status = 555;
    sandbox.Add(script);
    EXPECT_EQ(Send(sandbox, request).status == 555, row.matches);
  }
}

TEST_F(SandboxScriptControl, ComparesFieldsOfAnyBody) {
  sandbox.Add({.withForm = {{"message", "m"}}, .times = 0, .status = 555});
  const std::string form =
      Multipart({FormPart("message", "m"), FormPart("source", std::string(70'000, 'x'), "f")});
  EXPECT_EQ(Send(sandbox, {"POST", kFeed, {kMultipart}, form}).status, 555);
  EXPECT_EQ(Send(sandbox, {"POST", kFeed, {"Content-Type: application/json"}, R"({"message":"m"})"}).status,
            555);
  EXPECT_EQ(Send(sandbox, {"POST", kFeed, {kForm}, "message=n"}).status, 400);
}

TEST_F(SandboxScriptControl, ComparesTheStartOfLargeBodies) {
  const std::string form =
      "--b\r\nContent-Disposition: form-data; name=\"message\"\r\n\r\nneedle\r\n--b\r\n"
      "Content-Disposition: form-data; name=\"source\"; filename=\"a\"\r\n\r\n" +
      std::string(100'000, 'x') + "\r\n--b--\r\n";
  sandbox.Add({.withBody = "needle", .times = 0, .status = 555});
  EXPECT_EQ(
      Send(sandbox, {"POST", "graph.facebook.com/x", {}, "needle" + std::string(2'000'000, 'x')}).status,
      555);
  EXPECT_EQ(
      Send(sandbox, {"POST", "graph.facebook.com/x", {"Content-Type: multipart/form-data; boundary=b"}, form})
          .status,
      555);
}

TEST_F(SandboxScriptControl, KeepsTheOrderWhenABodyDecides) {
  sandbox.Add({.withBody = "first", .status = 551});
  sandbox.Add({.status = 552});
  const auto status = [&](const char* body) { return Send(sandbox, {"POST", kFeed, {kForm}, body}).status; };
  EXPECT_EQ(status("first"), 551);
  EXPECT_EQ(status("second"), 552);
  EXPECT_EQ(status("first"), 400) << "both are used up";
}

TEST_F(SandboxScriptControl, ListsChangesAndRemovesOneByOne) {
  const int first = sandbox.Add({.path = "/me", .times = 0, .status = 501, .delayMs = 1});
  const int second = sandbox.Add({.times = 0, .status = 502, .hangUp = true});
  const auto get = [&] { return Send(sandbox, {"GET", "graph.facebook.com/me"}).status; };
  EXPECT_EQ(get() + get(), 1002);
  EXPECT_EQ(sandbox.Report(first).counts, (std::map<std::string, int>{{"delayMs", 2}}));
  EXPECT_EQ(json::serialize(Get("/scripts/1").at("script")),
            R"({"path":"/me","times":0,"status":501,"delayMs":1})");

  EXPECT_EQ(Call("PUT", "/scripts/1", R"({"status": 503})").second.at("matched"), 0);
  EXPECT_EQ(get(), 503) << "it keeps its place";
  EXPECT_EQ(get(), 502) << "it is used up";
  EXPECT_EQ(Call("DELETE", "/scripts/2").first, 200);
  EXPECT_EQ(get(), 400);
  EXPECT_EQ(Get("/scripts").as_array().size(), 1U);
  EXPECT_EQ(sandbox.Add({}), second + 1) << "a number is not used again";

  EXPECT_EQ(Call("PUT", "/scripts/1", R"({"status": true})").first, 400);
  EXPECT_EQ(Get("/scripts/1").at("script").at("status"), 503) << "a refused change changes nothing";
  for (const char* method : {"GET", "PUT", "DELETE"}) EXPECT_EQ(Call(method, "/scripts/2", "{}").first, 404);
}

TEST_F(SandboxScriptControl, NamesWhatIsWrongWithAScript) {
  const struct {
    const char* name;
    const char* script;
    const char* error;
  } rows[] = {
      {"unknown member", R"({"wait": 1})", "unknown member: wait"},
      {"string", R"({"host": 1})", "host: a string is required, not an integer"},
      {"boolean", R"({"reset": "yes"})", "reset: a boolean is required, not a string"},
      {"number", R"({"delayMs": "1"})",
       "delayMs: a whole number from 0 to 2147483647 is required, not a string"},
      {"fraction", R"({"times": 1.5})", "times: a whole number from 0 to 2147483647 is required"},
      {"negative", R"({"cutAfter": -1})", "cutAfter: a whole number from 0 to 9007199254740992 is required"},
      {"too large", R"({"bodySize": 67108865})", "bodySize: a whole number from 0 to 67108864 is required"},
      {"no status", R"({"status": 99})", "status: a whole number from 100 to 999 is required"},
      {"list", R"({"headers": "A: b"})", "headers: a list of strings is required, not a string"},
      {"element", R"({"headers": ["A: b", null]})", "headers: a list of strings is required, not null"},
      {"object", R"({"withQuery": ["a"]})", "withQuery: an object of strings is required, not a list"},
      {"value", R"({"withHeaders": {"a": 1}})",
       "withHeaders: an object of strings is required, not an integer"},
      {"base64", R"({"bodyBase64": 7})", "bodyBase64: not base64"},
      {"early reply of a service", R"({"passThrough": true, "answerEarly": true})", "passThrough: "},
      {"body that is not read", R"({"withBody": "a", "stopReadingAfter": 1})", "withBody: "},
      {"form that is not read", R"({"withForm": {"a": "b"}, "readSlowly": 1})", "withForm: "},
      {"not JSON", "{", "the body is not JSON: incomplete JSON"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const auto [status, reply] = Call("POST", "/scripts", row.script);
    EXPECT_EQ(status, 400);
    const std::string error(reply.at("error").as_string());
    EXPECT_THAT(error, HasSubstr(row.error));
    for (const char* path : {".hpp", ".cpp", "boost"}) EXPECT_THAT(error, testing::Not(HasSubstr(path)));
  }
  EXPECT_EQ(Get("/scripts").as_array().size(), 0U);
}

// The document follows from the tables that the sandbox reads, so that these are the ends of the chain.
TEST_F(SandboxScriptControl, DescribesItselfForPrograms) {
  const json::value document = Get("/openapi.json");
  EXPECT_EQ(document.at("openapi"), "3.0.3");
  const json::object& members = document.at_pointer("/components/schemas/Script/properties").as_object();
  EXPECT_EQ(members.size(), sandbox::ScriptMembers().size());
  EXPECT_EQ(members.at("delayMs").at("type"), "integer");
  EXPECT_EQ(document.at_pointer("/components/schemas/Match/properties").as_object().size(), 7U);
  for (const auto& [path, operations] : document.at("paths").as_object()) {
    const bool hasId = path.find('{') != path.npos;
    for (const auto& [method, operation] : operations.as_object()) {
      SCOPED_TRACE(std::string(method) + ' ' + std::string(path));
      EXPECT_TRUE(operation.at("responses").as_object().contains("200"));
      EXPECT_EQ(hasId, operation.as_object().contains("parameters") &&
                           operation.at("parameters").at(0).at("in") == "path");
    }
  }
}

}  // namespace
}  // namespace velk::test
