// What the sandbox hides in front of the real services, and how it reads their errors.
#include "kit/secrets.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/service_reason.h"

namespace velk::sandbox {
namespace {

std::string Hidden(const std::string& text) { return Secrets(true).Hide(text); }

TEST(Secrets, AreFoundByTheirNamesInEveryForm) {
  const struct {
    const char *name, *text, *shown;
  } rows[] = {
      {"query", "/me?access_token=abc&fields=id", "/me?access_token=…&fields=id"},
      {"last of a query", "/token?client_secret=s%26t", "/token?client_secret=…"},
      {"other case", "/me?Access_Token=abc", "/me?Access_Token=…"},
      {"proof", "/me?appsecret_proof=0a1b&x=y", "/me?appsecret_proof=…&x=y"},
      {"PIN", "oauth_verifier=1234567&a=b", "oauth_verifier=…&a=b"},
      {"code of a sign-in", "/cb?code=4/0Ab&scope=x", "/cb?code=…&scope=x"},
      {"path", "/oauth/token/abc/rest", "/oauth/token/…/rest"},
      {"path of the legacy upload", "/action/FormDataUpload/AIwb?nexturl=x",
       "/action/FormDataUpload/…?nexturl=x"},
      {"session of an upload", "/videos?upload_id=AEnB2U&part=id", "/videos?upload_id=…&part=id"},
      {"JSON", R"({"access_token": "a\"b", "expires_in": 60})", R"({"access_token": "…", "expires_in": 60})"},
      {"JSON with a number", R"({"pin":1234567,"a":1})", R"({"pin":…,"a":1})"},
      {"lenient JSON", "{'token': 'abc'}", "{'token': '…'}"},
      {"JSON inside of JSON", R"({"body":"{\"access_token\":\"abc\"}"})",
       R"({"body":"{\"access_token\":\"…\"}"})"},
      {"URL inside of JSON", R"({"next":"https:\/\/g\/me?access_token=abc\u0026limit=25"})",
       R"({"next":"https:\/\/g\/me?access_token=…\u0026limit=25"})"},
      {"URL inside of a URL", "/?u=https%3A%2F%2Fg%2F%3Faccess_token%3Dabc%26x%3Dy",
       "/?u=https%3A%2F%2Fg%2F%3Faccess_token%3D…%26x%3Dy"},
      {"code in a URL inside of a URL", "/?u=%2F%3Fcode%3Dabc%26x", "/?u=%2F%3Fcode%3D…%26x"},
      {"encoded twice", "/?u=%252F%253Faccess_token%253Dabc%2526x", "/?u=%252F%253Faccess_token%253D…%2526x"},
      {"encoded JSON", "batch=%7B%22access_token%22%3A%22abc%22%7D",
       "batch=%7B%22access_token%22%3A%22…%22%7D"},
      {"JSON that is encoded twice", "/?p=%257B%2522access_token%2522%253A%2522abc%2522%257D",
       "/?p=%257B%2522access_token%2522%253A%2522…%2522%257D"},
      {"code of a device", "device_code=abc&x=y", "device_code=…&x=y"},
      {"session of an upload, as Google's header", R"({"X-GUploader-UploadID": "abc"})",
       R"({"X-GUploader-UploadID": "…"})"},
      {"XML", "<url>u</url><token>abc</token>", "<url>u</url><token>…</token>"},
      {"PIN in HTML", "<p><code>1234567</code>", "<p><code>…</code>"},
      {"input in HTML", R"(<input name="oauth_token" value="abc">)",
       R"(<input name="oauth_token" value="…">)"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Hidden(row.text), row.shown);
  }
}

TEST(Secrets, DoNotIncludeWhatExplainsAnError) {
  for (const char* const text :
       {"Error validating access token: Session has expired",
        R"({"error":{"code":190,"type":"OAuthException"}})",
        "OAuth \"Facebook Platform\" \"invalid_token\" \"Malformed access token\"",
        "<error><code>quota</code></error>", "oauth_signature_method=\"HMAC-SHA1\"",
        "/oauth/access_token?client_id=1", R"({"token":null})", "grant_type=fb_exchange_token&x",
        R"({"token_type":"bearer","keys":["a"]})", "", "token", "token=", "code\":"})
    EXPECT_EQ(Hidden(text), text);
}

TEST(Secrets, AreHiddenInHeaders) {
  const std::string head =
      "GET /me?key=k1 HTTP/1.1\r\nHost: h\r\nAuthorization: OAuth oauth_token=\"7-tk\", "
      "oauth_signature=\"s%2Bs\"\r\n"
      "authorization:Bearer abc\r\nCookie: c=d; e=f\r\nProxy-Authorization: Basic dTpw\r\nX-Api-Key: k\r\n"
      "Referer: https://h/?access_token=abc\r\nAccept: */*\r\n\r\n";
  EXPECT_EQ(Secrets(true).HideHead(head),
            "GET /me?key=… HTTP/1.1\r\nHost: h\r\nAuthorization: OAuth …\r\nauthorization: Bearer "
            "…\r\nCookie: …\r\n"
            "Proxy-Authorization: Basic …\r\nX-Api-Key: …\r\nReferer: https://h/?access_token=…\r\nAccept: "
            "*/*\r\n\r\n");
  EXPECT_EQ(Secrets(false).HideHead(head), head);
  const Head hidden = Secrets(true).Hide(ParseHead(head));
  EXPECT_EQ(hidden.target, "/me?key=…");
  EXPECT_EQ(hidden.Header("Cookie"), "…");
}

TEST(Secrets, AreHiddenWhereverElseTheyAre) {
  Secrets secrets(true);
  secrets.Hide(ParseHead("GET /?access_token=se%2Fcret%7Ctoken HTTP/1.1\r\nHost: h\r\n\r\n"));
  EXPECT_EQ(secrets.Hide(
                "Malformed: se/cret|token, or se%2Fcret%7Ctoken, or se\\/cret|token, se%252Fcret%257Ctoken"),
            "Malformed: …, or …, or …, …");
  secrets.Hide("token=short");
  EXPECT_EQ(secrets.Hide("a short word"), "a short word");
}

class SecretBodies : public testing::Test {
 protected:
  std::string Shown(const std::string& lines, const std::string& body) {
    const auto content = Secrets(true).Hide(store, HeaderLines("H\r\n" + lines), {body, body.size()});
    return content->IsKnown() ? content->Load() : "counted";
  }

  Store store{{}, true};
};

TEST_F(SecretBodies, AreReadAsWhatTheyAre) {
  const std::string form = "Content-Type: application/x-www-form-urlencoded\r\n";
  const std::string parts = "Content-Type: multipart/form-data; boundary=b\r\n";
  EXPECT_EQ(Shown(form, "a=b&access%5Ftoken=x y\"z&c="), "a=b&access%5Ftoken=…&c=");
  EXPECT_EQ(Shown("", "oauth_token=a&oauth_token_secret=b&user_id=7"),
            "oauth_token=…&oauth_token_secret=…&user_id=7");
  EXPECT_EQ(Shown("", R"({"access\u005ftoken":"longsecret","echo":"longsecret"})"),
            R"({"access\u005ftoken":"…","echo":"…"})");
  EXPECT_EQ(Shown(parts,
                  "--b\r\nContent-Disposition: form-data; name=\"access_token\"\r\n\r\na\r\nb\r\n--b\r\n"
                  "Content-Disposition: form-data; name=\"text\"\r\n\r\nt\r\n--b--\r\n"),
            "--b\r\nContent-Disposition: form-data; name=\"access_token\"\r\n\r\n…\r\n--b\r\n"
            "Content-Disposition: form-data; name=\"text\"\r\n\r\nt\r\n--b--\r\n");
  EXPECT_EQ(
      Shown(parts,
            "--b\r\nContent-Disposition: form-data; filename=\"f\"; name=pin\r\n\r\n1234567\r\n--b--\r\n"),
      "--b\r\nContent-Disposition: form-data; filename=\"f\"; name=pin\r\n\r\n…\r\n--b--\r\n");
  EXPECT_EQ(Shown("Content-Encoding: br\r\n", "packed"), "counted") << "it can contain secrets";
  EXPECT_EQ(Shown("Content-Encoding: gzip\r\n", "packed"), "counted") << "it is no gzip";
  constexpr char kPacked[] =
      "\037\213\010\000\000\000\000\000\002\003\253\126\112\114\116\116\055\056\216\057\311\317\116\315"
      "\123\262\122\312\311\317\113\057\116\115\056\112\055\121\252\005\000\143\365\067\033\035\000\000"
      "\000";
  EXPECT_EQ(Shown("Content-Encoding: gzip\r\n", std::string(kPacked, sizeof kPacked - 1)),
            R"({"access_token":"…"})");
  EXPECT_EQ(Shown("", std::string(70'000, 'x')), "counted");
}

TEST(ServiceReasons, AreThoseOfEachService) {
  const struct {
    const char *name, *body, *reason;
  } rows[] = {
      {"Facebook",
       R"({"error":{"message":"Invalid OAuth access token.","type":"OAuthException","code":190,"error_subcode":463}})",
       "Invalid OAuth access token. (OAuthException, code 190, error_subcode 463)"},
      {"Twitter",
       R"({"errors":[{"code":32,"message":"Could not authenticate you."},{"code":89,"message":"No."}]})",
       "Could not authenticate you. (code 32); No. (code 89)"},
      {"Twitter as text", "Failed to validate oauth signature and token",
       "\"Failed to validate oauth signature and token\""},
      {"Twitter, one string", R"({"error":"Not authorized","request":"/1.1/x.json"})", "Not authorized"},
      {"Twitter, version 2", R"({"title":"Unauthorized","detail":"Bad token","status":401})",
       "Bad token (401)"},
      {"Google",
       R"({"error":{"code":403,"message":"Quota.","errors":[{"reason":"quotaExceeded","domain":"youtube.quota"}]}})",
       "Quota. (code 403, quotaExceeded, youtube.quota)"},
      {"Google's tokens", R"({"error":"invalid_grant","error_description":"Token has been revoked."})",
       "invalid_grant: Token has been revoked."},
      {"no error", "{}", "OAuth \"realm\""},
      {"no body", "", "OAuth \"realm\""},
  };
  const ReplyHead head =
      ParseReplyHead("HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: OAuth \"realm\"\r\n\r\n", "GET");
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(ServiceReason(head, row.body), std::string("the service states: ") + row.reason);
  }
  EXPECT_EQ(ServiceReason(ParseReplyHead("HTTP/1.1 500 x\r\n\r\n", "GET"), ""), "the service gave no reason");
}

}  // namespace
}  // namespace velk::sandbox
