// The legacy browser upload, which no export calls: the token request, the form, and all steps together.
#include <boost/json.hpp>
#include <optional>

#include "support/service_fixture.h"
#include "youtube/youtube.h"

namespace velk::youtube {
namespace {

using test::Fill;
using test::Request;

YoutubeUploadInfo Video() {
  YoutubeUploadInfo info{};
  Fill(info.title, "a title");
  Fill(info.description, "about it");
  Fill(info.tags, "a\nb");
  return info;
}

// ---- The token request ---------------------------------------------------------------------------------

class UploadToken : public test::ServiceTest {
 protected:
  int32_t RequestToken(const char* accessToken = "token", const char* entry = "<entry/>") {
    std::fill(std::begin(url), std::end(url), '#');
    std::fill(std::begin(token), std::end(token), '#');
    return RequestUploadToken(accessToken, nullptr, entry, url, &urlLength, token, &tokenLength);
  }
  bool StringsUntouched() const {
    return std::string_view(url, sizeof url).find_first_not_of('#') == std::string_view::npos &&
           std::string_view(token, sizeof token).find_first_not_of('#') == std::string_view::npos;
  }

  char url[8000];
  char token[8000];
  int32_t urlLength = sizeof url;
  int32_t tokenLength = sizeof token;
};

const std::string kReply = "<r><url>http:</url><token>tok</token></r>";

TEST_F(UploadToken, SendsTheExactRequestThroughTheProxy) {
  sandbox.Add({.body = kReply});
  EXPECT_EQ(RequestToken(), VELK_OK);
  EXPECT_STREQ(url, "http:");
  EXPECT_STREQ(token, "tok");
  EXPECT_EQ(urlLength, 5);
  EXPECT_EQ(tokenLength, 3);
  const Request request = sandbox.Only();
  EXPECT_EQ(
      request.head,
      "POST http://gdata.youtube.com/action/GetUploadToken HTTP/1.1\r\n"
      "Host: gdata.youtube.com\r\n"
      "User-Agent: libcurl-agent/1.0\r\n"
      "Accept: */*\r\n"
      "Proxy-Connection: Keep-Alive\r\n"
      "Authorization: Bearer token\r\n"
      "GData-Version: 2\r\n"
      "X-GData-Key: key=C3J27XDCG2LmlZGEONYlgCtjfIZ4SOcMz9CPVNPkNa1Hedcm4pMbXDu-L1mHoOsFaQfDPrA-71fTquWo"
      "GsbeKXgzg2sye9b2Ra\r\n"
      "Content-Type: application/atom+xml; charset=UTF-8\r\n"
      "Content-Length: 8\r\n\r\n");
  EXPECT_EQ(request.body, "<entry/>");

  const std::string large(2 * 1024 * 1024, 'e');
  sandbox.Add({.body = kReply});
  urlLength = tokenLength = sizeof url;
  EXPECT_EQ(RequestToken("token", large.c_str()), VELK_OK);
  EXPECT_EQ(sandbox.Requests()[1].bodySize, large.size());
  EXPECT_EQ(sandbox.Requests()[1].HeaderNames().find("Expect"), std::string::npos)
      << "sent without waiting for 100 Continue";
}

TEST_F(UploadToken, WritesBothStringsOrNeither) {
  struct Row {
    const char* name;
    int32_t urlCapacity;
    int32_t tokenCapacity;
    int32_t result;
  };
  const Row rows[] = {
      {"exact fit", 6, 4, VELK_OK},
      {"URL one byte short", 5, 4, VELK_BUFFER_TOO_SMALL},
      {"token one byte short", 6, 3, VELK_BUFFER_TOO_SMALL},
      {"no capacity", 0, 0, VELK_BUFFER_TOO_SMALL},
      {"negative capacity", -1, 4, VELK_BUFFER_TOO_SMALL},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    sandbox.Add({.body = kReply});
    urlLength = row.urlCapacity;
    tokenLength = row.tokenCapacity;
    EXPECT_EQ(RequestToken(), row.result);
    EXPECT_EQ(urlLength, row.result == VELK_OK ? 5 : row.urlCapacity);
    EXPECT_EQ(tokenLength, row.result == VELK_OK ? 3 : row.tokenCapacity);
    EXPECT_EQ(StringsUntouched(), row.result != VELK_OK);
    EXPECT_EQ(std::string_view(url, 7), row.result == VELK_OK ? std::string_view("http:\0#", 7) : "#######");
    EXPECT_EQ(std::string_view(token, 5), row.result == VELK_OK ? std::string_view("tok\0#", 5) : "#####");
  }
  sandbox.Add({.body = "<r><url>" + std::string(7000, 'u') + "</url><token>" + std::string(7000, 't') +
                       "</token></r>"});
  urlLength = tokenLength = sizeof url;
  EXPECT_EQ(RequestToken(), VELK_OK) << "no string is truncated";
  EXPECT_EQ(std::string(url), std::string(7000, 'u'));
  EXPECT_EQ(tokenLength, 7000);
}

TEST_F(UploadToken, ReturnsTheCodeOfEachOutcome) {
  const test::Outcome rows[] = {
      {"200 without a body", {}, VELK_UNEXPECTED_REPLY},
      {"200 without a token", {.body = "<r><url>u</url></r>"}, VELK_UNEXPECTED_REPLY},
      {"201", {.status = 201, .body = kReply}, VELK_UNEXPECTED_REPLY},
      {"401", {.status = 401, .body = kReply}, VELK_UNEXPECTED_REPLY},
      {"reset", {.reset = true}, VELK_TRANSFER_FAILED},
      {"truncated", {.body = kReply + " ", .cutBodyAfter = kReply.size()}, VELK_TRANSFER_FAILED},
  };
  for (const test::Outcome& row : rows) {
    SCOPED_TRACE(row.name);
    sandbox.Add(row.reply);
    EXPECT_EQ(RequestToken(), row.result);
    EXPECT_TRUE(StringsUntouched());
    EXPECT_EQ(urlLength, static_cast<int32_t>(sizeof url));
    EXPECT_EQ(tokenLength, static_cast<int32_t>(sizeof token));
  }
  SetLibVelkUploadProxy(test::kRefusingProxy);
  EXPECT_EQ(RequestToken(), VELK_TRANSFER_FAILED);

  EXPECT_EQ(RequestToken(""), VELK_MISSING_ARGUMENT);
  test::ExpectRequired<0, 2, 3, 4, 5, 6>("RequestUploadToken", RequestUploadToken, "token", nullptr, "e", url,
                                         &urlLength, token, &tokenLength);
}

// ---- The form ------------------------------------------------------------------------------------------

class BrowserForm : public test::ServiceTest {
 protected:
  // Captures what libcurl writes to standard error, to keep it out of the test output.
  int32_t Post(const std::string& url, const char* token = "T=&+") {
    std::fill(std::begin(videoId), std::end(videoId), '#');
    testing::internal::CaptureStderr();
    const int32_t result =
        PostBrowserUploadForm(&uploader, "token", media->Path().c_str(), videoId, url.c_str(), token);
    report = testing::internal::GetCapturedStderr();
    return result;
  }
  bool IdUntouched() const {
    return std::string_view(videoId, sizeof videoId).find_first_not_of('#') == std::string_view::npos;
  }

  void SetFile(std::string_view content) { media.emplace("clip.mp4", content); }

  std::optional<test::TempFile> media{std::in_place, "clip.mp4", "not much of a video"};
  FileUploader uploader{};
  char videoId[kBrowserVideoIdCapacity];
  std::string report;
  const std::string formUrl = sandbox.Proxy() + "/form";
};

TEST_F(BrowserForm, BypassesTheProxyAndReportsTheHeaders) {
  SetLibVelkUploadProxy(test::kRefusingProxy);
  sandbox.Add({.status = 302, .headers = {"Location: http://localhost?status=200&id=elsewhere"}});
  EXPECT_EQ(Post(formUrl), VELK_OK);
  EXPECT_STREQ(videoId, "") << "the requested URL contains no identifier";
  EXPECT_EQ(uploader.state, uint32_t{kYoutubeUploading});
  EXPECT_GT(uploader.totalBytes, 19);
  EXPECT_EQ(uploader.uploadedBytes, uploader.totalBytes);

  const Request request = sandbox.Only();
  EXPECT_EQ(request.head.substr(0, request.head.find('\r')), "POST /form?nexturl=http://localhost HTTP/1.1");
  EXPECT_EQ(request.scheme, "http");
  EXPECT_EQ(request.HeaderNames(), "Host User-Agent Accept Content-Length Content-Type ");
  EXPECT_EQ(request.Header("User-Agent"), " libcurl-agent/1.0");
  ASSERT_EQ(request.fields.size(), 2U);
  EXPECT_EQ(request.fields[0].name, "file");
  EXPECT_EQ(request.fields[0].fileName, "clip.mp4");
  EXPECT_EQ(request.fields[0].content, "not much of a video");
  EXPECT_EQ(request.fields[1].name, "token");
  EXPECT_EQ(request.fields[1].content, "T=&+");

  EXPECT_NE(report.find("> POST /form?nexturl=http://localhost HTTP/1.1"), std::string::npos) << report;
  EXPECT_NE(report.find("< HTTP/1.1 302 "), std::string::npos) << report;
  EXPECT_EQ(report.find("T=&+"), std::string::npos) << "the token must not be reported";
}

TEST_F(BrowserForm, ReadsTheIdentifierFromTheRequestedUrl) {
  const std::pair<std::string, std::string> rows[] = {
      {"", ""},
      {"?id=abc", "abc?nexturl=http://localhost"},
      {"/id=1/id=2", "2?nexturl=http://localhost"},
      {"?upload_id=" + std::string(73, 'u'), std::string(73, 'u') + "?nexturl=http://localhost"},
      {"?ID=abc", ""},
      {"?id=" + std::string(4000, 'u'), std::string(100, 'u')},
  };
  for (const auto& [rest, expected] : rows) {
    SCOPED_TRACE(rest);
    sandbox.Add({});
    EXPECT_EQ(Post(formUrl + rest), VELK_OK);
    EXPECT_EQ(std::string(videoId), expected);
    EXPECT_EQ(sandbox.Requests().back().target, "/form" + rest + "?nexturl=http://localhost");
  }
}

TEST_F(BrowserForm, ReturnsTheCodeOfEachOutcome) {
  const test::Outcome rows[] = {
      {"200", {}, VELK_OK},
      {"201", {.status = 201}, VELK_UNEXPECTED_REPLY},
      {"303", {.status = 303, .headers = {"Location: /"}}, VELK_UNEXPECTED_REPLY},
      {"400", {.status = 400}, VELK_UNEXPECTED_REPLY},
      {"500", {.status = 500}, VELK_UNEXPECTED_REPLY},
      {"503", {.status = 503}, VELK_TRANSFER_FAILED},
      {"reset", {.reset = true}, VELK_TRANSFER_FAILED},
      {"truncated", {.body = "reply", .cutBodyAfter = 3}, VELK_TRANSFER_FAILED},
  };
  for (const test::Outcome& row : rows) {
    SCOPED_TRACE(row.name);
    sandbox.Reset();
    uploader.state = kYoutubeCancelRequested;
    sandbox.Add(row.reply);
    EXPECT_EQ(Post(formUrl + "?id="), row.result);
    EXPECT_EQ(IdUntouched(), row.result != VELK_OK);
    EXPECT_EQ(uploader.state, uint32_t{kYoutubeUploading}) << "the same after every outcome";
    EXPECT_EQ(sandbox.Requests().size(), 1U);
  }
  EXPECT_EQ(Post(std::string(test::kRefusingProxy) + "/form"), VELK_TRANSFER_FAILED);
}

TEST_F(BrowserForm, FailsOnAFileThatCannotBeRead) {
  EXPECT_TRUE(test::Deletable(*media)) << "the file is not open";
  EXPECT_EQ(Post(formUrl), VELK_TRANSFER_FAILED);
  EXPECT_TRUE(sandbox.Requests().empty());
  EXPECT_TRUE(IdUntouched());
}

TEST_F(BrowserForm, ValidatesArgumentsBeforeSending) {
  const std::string path = media->Path();
  test::ExpectRequired<0, 1, 2, 3, 4, 5>("PostBrowserUploadForm", PostBrowserUploadForm, &uploader, "token",
                                         path.c_str(), videoId, formUrl.c_str(), "T");
  EXPECT_TRUE(sandbox.Requests().empty());
  EXPECT_EQ(uploader.state, uint32_t{kYoutubeIdle});
}

TEST_F(BrowserForm, CancelsDuringTheTransferFromAnotherThread) {
  SetFile(test::RandomBytes(8 * 1024 * 1024, 4));
  sandbox.Add({.readSlowly = 200000});
  double total = 0;
  EXPECT_EQ(test::CancelInMidTransfer(
                sandbox, 0, &uploader, GetYoutubeUploadFileProgress, CancelYoutubeUploadFile,
                [this] { return Post(formUrl); }, total),
            VELK_CANCELLED);
  EXPECT_GT(total, 8.0 * 1024 * 1024) << "the form's own bytes are counted";
  EXPECT_EQ(uploader.state, uint32_t{kYoutubeCancelRequested});
  EXPECT_TRUE(IdUntouched());
}

// ---- All three steps -----------------------------------------------------------------------------------

TEST_F(BrowserForm, PublishesInThreeSteps) {
  const std::string content = test::RandomBytes(300000, 5);
  SetFile(content);
  const YoutubeUploadInfo info = Video();
  char term[kCategoryTermCapacity];
  char entry[8192] = "";
  char url[1024];
  char token[1024];
  int32_t entryLength = sizeof entry;
  int32_t urlLength = sizeof url;
  int32_t tokenLength = sizeof token;
  ASSERT_EQ(YoutubeCategoryTermFromId("20", term), 0);
  ASSERT_EQ(BuildAtomEntry(&info, entry, &entryLength, term), VELK_OK);
  EXPECT_EQ(RequestUploadToken("expired", nullptr, entry, url, &urlLength, token, &tokenLength),
            VELK_UNEXPECTED_REPLY);
  EXPECT_EQ(
      RequestUploadToken("token", nullptr, "<entry>a & b</entry>", url, &urlLength, token, &tokenLength),
      VELK_UNEXPECTED_REPLY);
  ASSERT_EQ(RequestUploadToken("token", nullptr, entry, url, &urlLength, token, &tokenLength), VELK_OK);
  EXPECT_EQ(Post(url, "another"), VELK_UNEXPECTED_REPLY);
  EXPECT_EQ(Post(std::string(url) + "x", token), VELK_UNEXPECTED_REPLY);
  EXPECT_EQ(Post(url, token), VELK_OK) << report;
  EXPECT_EQ(Post(url, token), VELK_UNEXPECTED_REPLY) << "a token is valid only once";

  const boost::json::value state = sandbox.State();
  ASSERT_EQ(state.at("youtube").at("videos").as_array().size(), 1U);
  const boost::json::value& video = state.at("youtube").at("videos").at(0);
  EXPECT_EQ(video.at("title").as_string(), "a title");
  EXPECT_EQ(video.at("description").as_string(), "about it");
  EXPECT_EQ(video.at("categoryId").as_string(), "Games");
  EXPECT_EQ(video.at("tags"), (boost::json::array{"a", "b"}));
  EXPECT_EQ(video.at("sha256").as_string(), test::Sha256(content));
}

}  // namespace
}  // namespace velk::youtube
