// The simulated Facebook with requests as other clients send them: versions, tokens and parameters in every
// place, methods in a parameter.
#include "support/facebook_fixture.h"
#include "support/http.h"

namespace velk::test {
namespace {

const std::string kGraph = "graph.facebook.com";
constexpr const char* kForm = "Content-Type: application/x-www-form-urlencoded";
constexpr const char* kJson = "Content-Type: application/json";
constexpr const char* kMultipart = "Content-Type: multipart/form-data; boundary=b";

class SandboxFacebookClients : public FacebookTest {
 protected:
  boost::json::array Objects() { return sandbox.State().at("facebook").at("objects").as_array(); }
};

TEST_F(SandboxFacebookClients, PublishesAPostHoweverItIsSent) {
  const std::string feed = "/104000000000001/feed";
  const std::string form = "message=%C3%A9&privacy={'value':'SELF'}";
  const HttpRequest rows[] = {
      {"POST", kGraph + feed + "?access_token=t&" + form},
      {"POST", kGraph + "/v2.12" + feed + '?' + form, {kForm}, "access_token=t"},
      {"POST", kGraph + "/v24.0" + feed + '/', {kForm, "Authorization: Bearer t"}, form},
      {"POST", "graph-video.facebook.com/v3.1" + feed, {kForm, "Authorization: OAuth t"}, form},
      {"GET", kGraph + feed + "?method=post&access_token=t&" + form},
      {"POST",
       kGraph + feed,
       {kJson},
       R"({"access_token":"t","message":"\u00e9","privacy":{"value":"SELF"}})"},
      {"POST",
       kGraph + feed,
       {kMultipart},
       Multipart({FormPart("access_token", "t"), FormPart("message", "\u00E9"),
                  FormPart("privacy", R"({"value":"SELF"})")})},
      {"POST", kGraph + feed, {kForm}, "access_token=t&message=%C3%A9&privacy%5Bvalue%5D=SELF"},
  };
  std::size_t count = 0;
  for (const HttpRequest& row : rows) {
    SCOPED_TRACE(row.url);
    EXPECT_EQ(Send(sandbox, row).status, 200);
    ASSERT_EQ(Objects().size(), ++count);
    EXPECT_EQ(Objects().back().at("message"), "\u00E9");
    EXPECT_EQ(Objects().back().at("privacy"), "SELF");
  }
  const HttpReply unauthorized = Send(sandbox, {"POST", kGraph + feed, {kForm}, form});
  EXPECT_EQ(unauthorized.At("/error/code"), "2500");
}

TEST_F(SandboxFacebookClients, AttachesPhotosHoweverTheyAreNamed) {
  const std::string photo = Png(RandomBytes(100, 1));
  const std::string id = Send(sandbox, {"POST",
                                        kGraph + "/me/photos?access_token=t&published=false",
                                        {kMultipart},
                                        Multipart({FormPart("source", photo, "photo.png")})})
                             .At("/id");
  const std::string feed = kGraph + "/me/feed?access_token=t";
  const HttpRequest rows[] = {
      {"POST", feed, {kForm}, "attached_media[0][media_fbid]=" + id},
      {"POST", feed, {kForm}, "attached_media%5B0%5D={\"media_fbid\":\"" + id + "\"}"},
      {"POST", feed + "&attached_media%5B0%5D%5Bmedia_fbid%5D=" + id},
      {"POST", feed, {kJson}, "{\"attached_media\":[{\"media_fbid\":" + id + "}]}"},
  };
  for (const HttpRequest& row : rows) {
    SCOPED_TRACE(row.url + row.body);
    EXPECT_EQ(Send(sandbox, row).status, 200);
    ASSERT_EQ(Objects().back().at("attached").as_array().size(), 1U);
    EXPECT_EQ(Objects().back().at("attached").at(0).as_string(), id);
  }
  EXPECT_EQ(Send(sandbox, {"POST", feed, {kForm}, "attached_media[0][media_fbid]=12"}).status, 400);
}

TEST_F(SandboxFacebookClients, TakesFilesUnderAnyName) {
  const std::string photo = Png(RandomBytes(70'000, 1));
  for (const char* name : {"source", "file", "image"}) {
    SCOPED_TRACE(name);
    sandbox.Reset();
    const HttpReply reply =
        Send(sandbox, {"POST",
                       kGraph + "/v24.0/me/photos",
                       {kMultipart},
                       Multipart({FormPart("access_token", "page-token-104000000000002"),
                                  FormPart("message", "m"), FormPart(name, photo, "photo.png")})});
    EXPECT_EQ(reply.status, 200) << reply.body;
    EXPECT_EQ(Objects().at(0).at("sha256").as_string(), Sha256(photo));
    EXPECT_EQ(Objects().at(0).at("node"), "104000000000002") << "with the token of a page, that is me";
  }
}

TEST_F(SandboxFacebookClients, ReadsChangesAndDeletes) {
  const std::string node = kGraph + "/104000000000001/feed?access_token=t&message=";
  const std::string id = Send(sandbox, {"POST", node + "first"}).At("/id");
  const std::string object = kGraph + '/' + id + "?access_token=t";
  EXPECT_EQ(Send(sandbox, {"GET", object}).body,
            R"({"id":")" + id + R"(","message":"first","privacy":{"value":"EVERYONE"}})");
  EXPECT_EQ(Send(sandbox, {"POST", object + "&message=%F0%9F%8E%89"}).body, R"({"success":true})");
  const HttpReply read =
      Send(sandbox, {"GET", kGraph + "/v24.0/" + id + "?access_token=t&fields=message,from%7Bid%7D"});
  EXPECT_EQ(read.body, R"({"message":"\ud83c\udf89","from":{"id":"104000000000001"},"id":")" + id + "\"}");
  EXPECT_EQ(Send(sandbox, {"POST", object + "&method=delete"}).body, R"({"success":true})");
  const HttpReply gone = Send(sandbox, {"DELETE", object});
  EXPECT_EQ(gone.At("/error/code") + ' ' + gone.At("/error/error_subcode"), "100 33");
}

TEST_F(SandboxFacebookClients, GivesItsOwnErrorsForUnknownPaths) {
  const struct {
    const char* url;
    const char* code;
  } rows[] = {
      {"graph.facebook.com/a/b/c/d", "2500"},
      {"www.facebook.com/dialog", "2500"},
      {"graph.facebook.com/v24.0/?access_token=t", "2500"},
      {"graph.facebook.com/v24.0/12?access_token=t", "100"},
      {"graph.facebook.com/debug_token?access_token=t", "100"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.url);
    const HttpReply reply = Send(sandbox, {"GET", row.url});
    EXPECT_EQ(reply.status, 400);
    EXPECT_EQ(reply.At("/error/code"), row.code) << reply.body;
    EXPECT_EQ(reply.At("/error/fbtrace_id").size(), 11U);
  }
}

// Bytes after the head would be the start of the next reply on the connection.
TEST_F(SandboxFacebookClients, RepliesToHeadWithoutABody) {
  const HttpReply reply = Send(sandbox, {"HEAD", kGraph + "/v24.0/me?access_token=t"});
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(sandbox.Newest().at("replyBodySize"), 0);
}

TEST_F(SandboxFacebookClients, IssuesAndDescribesTokens) {
  const std::string exchange = kGraph + "/v24.0/oauth/access_token?client_id=1&client_secret=s&";
  EXPECT_EQ(Send(sandbox, {"GET", exchange + "grant_type=fb_exchange_token&fb_exchange_token=t"})
                .At("/access_token"),
            "long-t");
  EXPECT_EQ(Send(sandbox, {"GET", exchange + "redirect_uri=https://a.b&code=c"}).At("/access_token"),
            "long-c");
  EXPECT_EQ(Send(sandbox, {"GET", exchange + "grant_type=client_credentials"}).At("/access_token"), "1|s");
  const std::string describe = kGraph + "/debug_token?access_token=t&input_token=";
  EXPECT_EQ(Send(sandbox, {"GET", describe + "page-token-104000000000001"}).At("/data/type"), "PAGE");
  EXPECT_EQ(Send(sandbox, {"GET", describe + "expired"}).At("/data/is_valid"), "false");
}

}  // namespace
}  // namespace velk::test
