// The legacy browser upload: the exact Atom entry, the token request and its reply, and the form.
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <thread>

#include "api/service_test.h"
#include "youtube/youtube.h"

namespace velk::youtube {
namespace {

using test::Fill;
using test::Request;
using test::Script;

YoutubeUploadInfo Video() {
  YoutubeUploadInfo info{};
  Fill(info.title, "a title");
  Fill(info.description, "about it");
  Fill(info.tags, "a\nb");
  return info;
}

// ---- The entry -----------------------------------------------------------------------------------------

std::string Entry(const std::string& title, const std::string& description, const std::string& category,
                  const std::string& keywords) {
  return "<?xml version=\"1.0\"?>\n"
         "<entry xmlns=\"http://www.w3.org/2005/Atom\" xmlns:media=\"http://search.yahoo.com/mrss/\" "
         "xmlns:yt=\"http://gdata.youtube.com/schemas/2007\"><media:group>"
         "<media:title type=\"plain\">" +
         title + "</media:title><media:description type=\"plain\">" + description +
         "</media:description>"
         "<media:category scheme=\"http://gdata.youtube.com/schemas/2007/categories.cat\">" +
         category + "</media:category><media:keywords>" + keywords +
         "</media:keywords></media:group></entry>\r\n";
}

// Builds the entry in a block of exactly the given capacity, so that sanitizers detect any access past its
// end.
struct Built {
  explicit Built(const YoutubeUploadInfo& info, const char* category, int32_t capacity)
      : length(capacity), bytes(static_cast<size_t>(std::max(capacity, 0)), '#') {
    result = BuildAtomEntry(&info, bytes.data(), &length, category);
  }

  int32_t result;
  int32_t length;
  std::string bytes;
};

TEST(BuildAtomEntry, WritesEachFieldIntoItsElement) {
  YoutubeUploadInfo full;
  std::memset(&full, 'x', sizeof full);
  const auto run = [](size_t length) { return std::string(length, 'x'); };
  YoutubeUploadInfo raw = Video();
  Fill(raw.title, "<b>\"&\n\r\t'</b>");
  Fill(raw.description, "line\nline]]>");
  Fill(raw.tags, "a\r\nb\n\n,c\n");
  struct Row {
    const char* name;
    YoutubeUploadInfo info;
    std::string category;
    std::string expected;
  };
  const Row rows[] = {
      {"plain", Video(), "News", Entry("a title", "about it", "News", "a,b")},
      {"category truncated at an ampersand", Video(), "News&x=1&y",
       Entry("a title", "about it", "News", "a,b")},
      {"category that starts with an ampersand", Video(), "&News", Entry("a title", "about it", "", "a,b")},
      {"nothing is escaped", raw, "<News>",
       Entry("<b>\"&\n\r\t'</b>", "line\nline]]>", "<News>", "a\r,b,,,c,")},
      {"fields without terminators", full, std::string(5000, 'c'),
       Entry(run(300), run(5000), std::string(5000, 'c'), run(1024))},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const Built built(row.info, row.category.c_str(), 20000);
    EXPECT_EQ(built.result, VELK_OK);
    ASSERT_EQ(static_cast<size_t>(built.length), row.expected.size());
    EXPECT_EQ(built.bytes, row.expected + std::string(20000 - row.expected.size(), '#')) << "no terminator";
  }
}

TEST(BuildAtomEntry, RequiresOneByteMoreThanItWrites) {
  const auto length = static_cast<int32_t>(Entry("a title", "about it", "News", "a,b").size());
  for (const int32_t capacity : {length, length - 1, 1, 0, -1, std::numeric_limits<int32_t>::min()}) {
    const Built built(Video(), "News", capacity);
    EXPECT_EQ(built.result, VELK_BUFFER_TOO_SMALL);
    EXPECT_EQ(built.length, length + 1);
    EXPECT_EQ(built.bytes.find_first_not_of('#'), std::string::npos);
  }
  const Built exact(Video(), "News", length + 1);
  EXPECT_EQ(exact.result, VELK_OK);
  EXPECT_EQ(exact.length, length);
  EXPECT_EQ(exact.bytes.back(), '#');
}

TEST(BuildAtomEntry, RejectsMissingArguments) {
  YoutubeUploadInfo info = Video();
  for (char* emptied : {info.title, info.description, info.tags}) {
    const char kept = std::exchange(*emptied, '\0');
    const Built built(info, "News", 1);
    EXPECT_EQ(built.result, VELK_MISSING_ARGUMENT);
    EXPECT_EQ(built.length, 1);
    *emptied = kept;
  }
  char out = '#';
  int32_t length = 1;
  EXPECT_EQ(BuildAtomEntry(&info, &out, &length, ""), VELK_MISSING_ARGUMENT);
  for (int missing = 0; missing < 4; ++missing) {
    const auto arg = [&](int index, auto* pointer) { return index == missing ? nullptr : pointer; };
    EXPECT_EQ(BuildAtomEntry(arg(0, &info), arg(1, &out), arg(2, &length), arg(3, "News")),
              VELK_MISSING_ARGUMENT);
  }
  EXPECT_EQ(length, 1);
}

// ---- The token reply -----------------------------------------------------------------------------------

TEST(ParseUploadTokenReply, ReadsTheFirstElementOfEachNameBelowTheRoot) {
  const std::string untouched = "-";
  struct Row {
    const char* name;
    std::string reply;
    int32_t result;
    std::string url;
    std::string token;
  };
  const Row rows[] = {
      {"reply of the service",
       "<?xml version=\"1.0\" "
       "encoding=\"UTF-8\"?><response><url>http://h/p</url><token>T_-</token></response>",
       VELK_OK, "http://h/p", "T_-"},
      {"any root, any order", "<x a='b'><token>t</token><y/><url>u</url></x>", VELK_OK, "u", "t"},
      {"CRLF", "<r>\r\n<url>a\r\nb</url>\r\n<token>\rt\r\n</token>\r\n</r>\r\n", VELK_OK, "a\nb", "\nt\n"},
      {"entities", "<r><url>?a&amp;b=&#x41;&#66;</url><token>&lt;&gt;&none;</token></r>", VELK_OK, "?a&b=AB",
       "<>&none;"},
      {"repeated elements", "<r><url>1</url><token>2</token><url>3</url><token>4</token></r>", VELK_OK, "1",
       "2"},
      {"empty elements", "<r><url/><token></token></r>", VELK_OK, "", ""},
      {"text around an element", "<r><url>a<url>x</url>b</url><token>t</token></r>", VELK_OK, "ab", "t"},
      {"no token", "<r><url>u</url></r>", VELK_UNEXPECTED_REPLY, "u", untouched},
      {"no url", "<r><token>t</token></r>", VELK_UNEXPECTED_REPLY, untouched, untouched},
      {"different case", "<r><URL>u</URL><token>t</token></r>", VELK_UNEXPECTED_REPLY, untouched, untouched},
      {"nested too deep", "<r><s><url>u</url><token>t</token></s></r>", VELK_UNEXPECTED_REPLY, untouched,
       untouched},
      {"root element itself", "<url>u<token>t</token></url>", VELK_UNEXPECTED_REPLY, untouched, untouched},
      {"truncated after both", "<r><url>u</url><token>t</token>", VELK_OK, "u", "t"},
      {"truncated in the token's text", "<r><url>u</url><token>t", VELK_OK, "u", ""},
      {"truncated in the token's tag", "<r><url>u</url><tok", VELK_UNEXPECTED_REPLY, "u", untouched},
      {"not XML", "NoLinkedYouTubeAccount", VELK_UNEXPECTED_REPLY, untouched, untouched},
      {"single space", " ", VELK_UNEXPECTED_REPLY, untouched, untouched},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const auto exact = std::make_unique<char[]>(row.reply.size());
    std::memcpy(exact.get(), row.reply.data(), row.reply.size());
    std::string url = untouched;
    std::string token = untouched;
    EXPECT_EQ(ParseUploadTokenReply(exact.get(), row.reply.size(), &url, &token), row.result);
    EXPECT_EQ(url, row.url);
    EXPECT_EQ(token, row.token);
    EXPECT_EQ(std::memcmp(exact.get(), row.reply.data(), row.reply.size()), 0) << "the reply is not modified";
  }
  std::string out;
  EXPECT_EQ(ParseUploadTokenReply("<r/>", 0, &out, &out), VELK_MISSING_ARGUMENT);
  EXPECT_EQ(ParseUploadTokenReply("<r/>", 4, nullptr, &out), VELK_MISSING_ARGUMENT);
  EXPECT_EQ(ParseUploadTokenReply("<r/>", 4, &out, nullptr), VELK_MISSING_ARGUMENT);
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
    int32_t urlCapacity, tokenCapacity, result;
  };
  for (const Row& row :
       {Row{6, 4, VELK_OK}, Row{5, 4, VELK_BUFFER_TOO_SMALL}, Row{6, 3, VELK_BUFFER_TOO_SMALL},
        Row{0, 0, VELK_BUFFER_TOO_SMALL}, Row{-1, 4, VELK_BUFFER_TOO_SMALL}}) {
    SCOPED_TRACE(std::to_string(row.urlCapacity) + " and " + std::to_string(row.tokenCapacity));
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
  for (int missing = 0; missing < 6; ++missing) {
    const auto arg = [&](int index, auto* pointer) { return index == missing ? nullptr : pointer; };
    EXPECT_EQ(RequestUploadToken(arg(0, "token"), nullptr, arg(1, "e"), arg(2, url), arg(3, &urlLength),
                                 arg(4, token), arg(5, &tokenLength)),
              VELK_MISSING_ARGUMENT);
  }
}

TEST_F(UploadToken, TimesOutLikeTheCategoryLookup) {
  sandbox.Add({.times = 0, .neverAnswer = true});
  char title[kCategoryTitleCapacity];
  std::thread category(
      [&] { test::ExpectTenSecondLimit([&] { return GetYoutubeCategoryTitle("token", "1", title); }); });
  test::ExpectTenSecondLimit([this] { return RequestToken(); });
  category.join();
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
  for (int missing = 0; missing < 6; ++missing) {
    const auto arg = [&](int index, auto* pointer) { return index == missing ? nullptr : pointer; };
    EXPECT_EQ(PostBrowserUploadForm(arg(0, &uploader), arg(1, "token"), arg(2, path.c_str()), arg(3, videoId),
                                    arg(4, formUrl.c_str()), arg(5, "T")),
              VELK_MISSING_ARGUMENT);
  }
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
