// What the sandbox's readers of heads, multipart bodies and parameters take from clients other than the
// library.
#include "kit/request.h"

#include <gtest/gtest.h>

#include <string>

namespace velk::sandbox {
namespace {

TEST(SandboxHead, TakesHostAndConnectionAsHttpRequires) {
  const struct {
    const char* name;
    std::string lines;
    bool accepted, keepAlive;
  } rows[] = {
      {"one host", "Host: a\r\n", true, true},
      {"the same host twice", "Host: a\r\nHost: a\r\n", false, false},
      {"two hosts", "Host: a\r\nhost: b\r\n", false, false},
      {"close", "Host: a\r\nConnection: Close\r\n", true, false},
      {"close in a list", "Host: a\r\nConnection: keep-alive, close\r\n", true, false},
      {"close in a second line", "Host: a\r\nConnection: te\r\nConnection: close\r\n", true, false},
      {"a list without close", "Host: a\r\nConnection: te ,keep-alive\r\n", true, true},
      {"a longer word", "Host: a\r\nConnection: close-not\r\n", true, true},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    try {
      EXPECT_EQ(ParseHead("GET / HTTP/1.1\r\n" + row.lines + "\r\n").keepAlive, row.keepAlive);
      EXPECT_TRUE(row.accepted);
    } catch (const BadRequest&) {
      EXPECT_FALSE(row.accepted);
    }
  }
}

Head PostOf(const std::string& type) {
  Head head;
  head.method = "POST";
  head.target = "/p?q=query&both=query";
  head.lines = {"Content-Type: " + type};
  return head;
}

std::shared_ptr<const Received> Receive(Store& store, const Head& head, const std::string& body,
                                        std::size_t size) {
  Intake intake(store, head);
  for (std::size_t at = 0; at < body.size(); at += size)
    intake.Append(std::string_view(body).substr(at, size));
  return intake.Finish();
}

TEST(SandboxMultipart, TakesEitherLineEndAndBlanksAfterADelimiter) {
  const std::string content = "a\n--x\r\n--\r\nb\r";
  const struct {
    const char* name;
    const char* type;
    std::string body;
  } rows[] = {
      {"CRLF", "multipart/form-data; boundary=b",
       "--b\r\nContent-Type: t/1\r\n\r\n{}\r\n--b\r\nContent-Type: t/2\r\n\r\n" + content + "\r\n--b--\r\n"},
      {"LF", "multipart/related; boundary=\"b\"",
       "--b\nContent-Type: t/1\nMIME-Version: 1.0\n\n{}\n--b\nContent-Type: t/2\n\n" + content + "\n--b--\n"},
      {"LF after a preamble", "Multipart/Related; boundary=b; type=\"t/1\"",
       "preamble\n--b\nContent-Type: t/1\n\n{}\n--b\nContent-Type: t/2\n\n" + content + "\n--b--"},
      {"blanks", "multipart/mixed; boundary=b",
       "--b  \t\r\nContent-Type: t/1\r\n\r\n{}\r\n--b \r\nContent-Type: t/2\r\n\r\n" + content +
           "\r\n--b-- \r\n"},
  };
  Store store({}, false);
  for (const auto& row : rows) {
    for (const std::size_t size : {1U, 2U, 5U, 1000U}) {
      SCOPED_TRACE(row.name);
      const auto received = Receive(store, PostOf(row.type), row.body, size);
      ASSERT_EQ(received->fields.size(), 2U);
      EXPECT_EQ(received->fields[0].contentType + received->fields[0].content.Bytes(), "t/1{}");
      EXPECT_EQ(received->fields[1].contentType + received->fields[1].content.Bytes(), "t/2" + content);
    }
  }
  for (const char* bad : {"--b x\r\n\r\n\r\n--b--", "--b\r\n\r\n\r\n--b\n\n\n--b--", "--b\r\n\r\na\n--b--"})
    EXPECT_THROW(Receive(store, PostOf("multipart/form-data; boundary=b"), bad, 1), BadRequest) << bad;
}

TEST(SandboxParameters, AreThoseOfTheBodyThenOfTheQuery) {
  const struct {
    const char* type;
    std::string body;
    const char* text;
  } rows[] = {
      {"application/x-www-form-urlencoded", "a=%C3%A9+x&both=body&list=1,2&list=3", "\u00E9 x"},
      {"Application/X-WWW-Form-Urlencoded;charset=UTF-8", "a=%C3%A9%20x&both=body&list=1,2,3", "\u00E9 x"},
      {"application/json; charset=utf-8", R"({"a":"\u00e9 x","both":"body","list":"1,2,3","none":null})",
       "\u00E9 x"},
      {"application/json", R"({"a":{"b":[1,true]},"both":"body","list":"1,2,3"})", R"({"b":[1,true]})"},
      {"multipart/form-data; boundary=b",
       "--b\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\ntext\r\n--b\r\n"
       "Content-Disposition: form-data; name=\"both\"\r\n\r\nbody\r\n--b\r\n"
       "Content-Disposition: form-data; name=\"list\"\r\n\r\n1,2, 3\r\n--b\r\n"
       "Content-Disposition: form-data; name=\"q\"; filename=\"f\"\r\n\r\nfile\r\n--b--",
       "text"},
  };
  Store store({}, false);
  for (const auto& row : rows) {
    SCOPED_TRACE(row.type);
    const Head head = PostOf(row.type);
    const ServiceRequest request(head, Receive(store, head, row.body, 1000));
    EXPECT_EQ(request.Parameter("a"), row.text);
    EXPECT_EQ(request.Parameter("both"), "body");
    EXPECT_EQ(request.Parameter("q"), "query");
    EXPECT_EQ(request.FindParameter("none"), std::nullopt);
    EXPECT_EQ(request.List("list"), (std::vector<std::string>{"1", "2", "3"}));
  }
  const Head head = PostOf("text/plain");
  EXPECT_TRUE(ServiceRequest(head, Receive(store, head, "a=b", 10)).form.empty());
}

}  // namespace
}  // namespace velk::sandbox
