// What every other test relies on: the sandbox records requests exactly, injects the scripted faults, and
// survives malformed input.
#include "support/sandbox.h"

#include "support/twitter_fixture.h"

#include <curl/curl.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>

namespace velk::test {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

using Curl = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;
Curl NewCurl() { return {curl_easy_init(), curl_easy_cleanup}; }

enum class End { kOpen, kOrderly, kReset };

struct Outcome {
  std::string bytes;
  End end;
};

// A raw connection to the proxy's port, for input that no well-behaved client sends.
class Wire {
 public:
  explicit Wire(const Sandbox& sandbox) : curl_(NewCurl()) {
    curl_easy_setopt(curl_.get(), CURLOPT_URL, sandbox.Proxy().c_str());
    curl_easy_setopt(curl_.get(), CURLOPT_PROXY, "");
    curl_easy_setopt(curl_.get(), CURLOPT_CONNECT_ONLY, 1L);
    EXPECT_EQ(curl_easy_perform(curl_.get()), CURLE_OK);
  }

  bool Send(std::string_view bytes) {
    while (!bytes.empty()) {
      std::size_t sent = 0;
      const CURLcode result = curl_easy_send(curl_.get(), bytes.data(), bytes.size(), &sent);
      if (result == CURLE_AGAIN) std::this_thread::sleep_for(milliseconds(1));
      if (result != CURLE_OK && result != CURLE_AGAIN) return false;
      bytes.remove_prefix(sent);
    }
    return true;
  }

  // Reads until the connection ends. If it is expected to stay open, stops after a period without data.
  Outcome Read(std::size_t expected, bool staysOpen) {
    Outcome outcome{{}, End::kOpen};
    auto last = Clock::now();
    for (char piece[4096];;) {
      std::size_t count = 0;
      const CURLcode result = curl_easy_recv(curl_.get(), piece, sizeof piece, &count);
      if (result == CURLE_AGAIN) {
        const bool quiet = staysOpen && outcome.bytes.size() >= expected;
        if (Clock::now() - last > (quiet ? milliseconds(100) : kPatience)) return outcome;
        std::this_thread::sleep_for(milliseconds(1));
        continue;
      }
      outcome.bytes.append(piece, count);
      last = Clock::now();
      if (count > 0) continue;
      // Some systems report a reset as an orderly end. Only after an orderly end does the peer still accept
      // data.
      outcome.end = result == CURLE_OK && Send("x") ? End::kOrderly : End::kReset;
      return outcome;
    }
  }

 private:
  Curl curl_;
};

std::string Post(std::string_view headers, std::string_view body) {
  return "POST http://gdata.youtube.com/p?q HTTP/1.1\r\nHost: h\r\n" + std::string(headers) + "\r\n" +
         std::string(body);
}

std::string WithLength(std::string_view type, std::string_view body) {
  return Post(
      "Content-Type: " + std::string(type) + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n",
      body);
}

std::string ManyParts() {
  std::string parts;
  for (int i = 0; i < 1001; ++i) parts += "--b\r\n\r\n\r\n";
  return parts;
}

TEST(SandboxMalformedInput, IsRejectedWithoutHarm) {
  struct Row {
    const char* name;
    std::string sent;
    const char* status = "400";
  };
  const std::string line = "GET / HTTP/1.1\r\n";
  const Row rows[] = {
      {"not HTTP", "\x05\x01\x02"},
      {"bytes outside ASCII", "\xff\xfe\xfd\r\n\r\n"},
      {"unsupported HTTP version", "GET / HTTP/2.0\r\nHost: h\r\n\r\n"},
      {"space in the target", "GET /a b HTTP/1.1\r\nHost: h\r\n\r\n"},
      {"target without a slash", "GET a HTTP/1.1\r\nHost: h\r\n\r\n"},
      {"no Host header", line + "\r\n"},
      {"header without a colon", line + "Host: h\r\nrubbish\r\n\r\n"},
      {"space before the colon", line + "Host : h\r\n\r\n"},
      {"folded header", line + "Host: h\r\nA: b\r\n c\r\n\r\n"},
      {"CONNECT without a port", "CONNECT graph.facebook.com HTTP/1.1\r\nHost: h\r\n\r\n"},
      {"CONNECT to an unknown host", "CONNECT example.com:443 HTTP/1.1\r\nHost: h\r\n\r\n", "502"},
      {"non-numeric length", Post("Content-Length: four\r\n", "")},
      {"length above 64 bits", Post("Content-Length: 18446744073709551616\r\n", "")},
      {"two lengths", Post("Content-Length: 1\r\nContent-Length: 2\r\n", "a")},
      {"length and chunked encoding",
       Post("Content-Length: 1\r\nTransfer-Encoding: chunked\r\n", "1\r\na\r\n0\r\n\r\n")},
      {"chunk longer than its size", Post("Transfer-Encoding: chunked\r\n", "1\r\nab\r\n0\r\n\r\n")},
      {"form without a boundary", WithLength("multipart/form-data", "a")},
      {"form with too many parts", WithLength("multipart/form-data; boundary=b", ManyParts() + "--b--")},
      {"unterminated form", WithLength("multipart/form-data; boundary=b", "--b\r\n\r\ntext")},
      {"form with a malformed delimiter",
       WithLength("multipart/form-data; boundary=b", "--bc\r\n\r\n\r\n--b--")},
      {"part header without a colon",
       WithLength("multipart/form-data; boundary=b", "--b\r\nx\r\n\r\n\r\n--b--")},
      {"head above the size limit", line + "A: " + std::string(1024 * 1024 + 20000, 'a'), "431"},
  };
  Sandbox sandbox;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Wire wire(sandbox);
    wire.Send(row.sent);
    const Outcome outcome = wire.Read(0, false);
    EXPECT_EQ(outcome.bytes.substr(0, 13), std::string("HTTP/1.1 ") + row.status + " ");
    EXPECT_EQ(outcome.end, End::kOrderly);
  }
}

TEST(SandboxMalformedInput, LeavesAnIncompleteRecordWhenTheClientDisconnects) {
  Sandbox sandbox;
  Wire(sandbox).Send("POST / HT");
  Wire(sandbox).Send(Post("Content-Length: 10\r\n", "part"));
  EXPECT_TRUE(sandbox.WaitForBody(0, 4));
  const Request request = sandbox.Only();
  EXPECT_FALSE(request.bodyComplete);
  EXPECT_EQ(request.bodyReceived, 4u);
  EXPECT_EQ(request.status, 0);
}

TEST(SandboxFaults, TakeEffectAsScriptedAndAreReported) {
  const std::string head = "HTTP/1.1 201 Made\r\nA:  b\r\nContent-Length: 5\r\n\r\n";
  const std::string unframed = "HTTP/1.1 201 Made\r\nA:  b\r\n\r\nreply";
  struct Row {
    const char* name;
    Script script;
    std::string received;
    End end;
    std::vector<std::string> fired;
  };
  const Row rows[] = {
      {"plain reply", {}, head + "reply", End::kOpen, {}},
      {"cut in the head", {.cutAfter = 10}, head.substr(0, 10), End::kOrderly, {"cutAfter"}},
      {"cut before the first byte", {.cutAfter = 0}, "", End::kOrderly, {"cutAfter"}},
      {"cut in the body", {.cutBodyAfter = 2}, head + "re", End::kOrderly, {"cutBodyAfter"}},
      {"cut after the end", {.cutAfter = 1000}, head + "reply", End::kOpen, {}},
      {"body cut at its end", {.cutBodyAfter = 5}, head + "reply", End::kOpen, {}},
      {"reset", {.reset = true}, "", End::kReset, {"reset"}},
      {"reset at a cut",
       {.cutBodyAfter = 1, .reset = true},
       head + "r",
       End::kReset,
       {"cutBodyAfter", "reset"}},
      {"no reply", {.neverAnswer = true}, "", End::kOpen, {"neverAnswer"}},
      {"no Content-Length", {.noContentLength = true}, unframed, End::kOrderly, {"noContentLength"}},
      {"reading stops", {.stopReadingAfter = 2}, "", End::kOpen, {"stopReadingAfter"}},
      {"reading stops at the end", {.stopReadingAfter = 4}, head + "reply", End::kOpen, {}},
      {"reset while reading the body",
       {.reset = true, .stopReadingAfter = 2},
       "",
       End::kReset,
       {"reset", "stopReadingAfter"}},
      {"early reply", {.answerEarly = true}, head + "reply", End::kOpen, {"answerEarly"}},
      {"closed after the reply", {.hangUp = true}, head + "reply", End::kOrderly, {"hangUp"}},
  };
  Sandbox sandbox;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    sandbox.Reset();
    Script script = row.script;
    script.path = "/p";
    script.status = 201;
    script.reason = "Made";
    script.headers = {"A:  b"};
    script.body = "reply";
    const int id = sandbox.Add(script);
    Wire wire(sandbox);
    wire.Send(Post("Content-Length: 4\r\n", "body"));
    const Outcome outcome = wire.Read(row.received.size(), row.end == End::kOpen);
    EXPECT_EQ(outcome.bytes, row.received);
    EXPECT_EQ(outcome.end, row.end);
    EXPECT_EQ(sandbox.FiredFaults(id), row.fired);
    const Request request = sandbox.Only();
    EXPECT_TRUE(request.scripted);
    EXPECT_EQ(request.status, row.received.empty() ? 0 : 201);
    EXPECT_EQ(request.bodyReceived, script.stopReadingAfter.value_or(4));
  }
}

TEST(SandboxFaults, SendAnEarlyReplyBeforeTheBodyArrives) {
  Sandbox sandbox;
  sandbox.Add({.status = 413, .answerEarly = true});
  Wire wire(sandbox);
  wire.Send(Post("Content-Length: 4\r\nExpect: 100-continue\r\n", ""));
  EXPECT_TRUE(wire.Read(1, true).bytes.starts_with("HTTP/1.1 413 "));
  EXPECT_FALSE(sandbox.Only().bodyComplete);
  wire.Send("body");
  EXPECT_TRUE(sandbox.WaitForBody(0, 4));
}

TEST(SandboxFaults, DelayForTheScriptedTime) {
  Sandbox sandbox;
  const int delayed = sandbox.Add({.delayMs = 300});
  const int slow = sandbox.Add({.readSlowly = 1000});
  for (const int id : {delayed, slow}) {
    SCOPED_TRACE(id);
    Wire wire(sandbox);
    const auto start = Clock::now();
    wire.Send(Post("Content-Length: 400\r\n", std::string(400, 'x')));
    EXPECT_TRUE(wire.Read(1, true).bytes.starts_with("HTTP/1.1 200 OK\r\n"));
    EXPECT_GE(Clock::now() - start, milliseconds(300));
    EXPECT_EQ(sandbox.FiredFaults(id).size(), 1u);
  }
}

TEST(SandboxScripts, ApplyInOrderToMatchingRequests) {
  Sandbox sandbox;
  sandbox.Add({.host = "graph.facebook.com", .status = 501});
  sandbox.Add({.method = "PUT", .status = 502});
  sandbox.Add({.path = "/p/*", .status = 503});
  sandbox.Add({.path = "/p", .times = 2, .status = 504});
  sandbox.Add({.status = 505, .passThrough = true, .delayMs = 1});
  const int rest = sandbox.Add({.times = 0, .status = 506});
  std::string statuses;
  Wire wire(sandbox);
  for (int i = 0; i < 5; ++i) {
    wire.Send(Post("", ""));
    statuses += wire.Read(1, true).bytes.substr(9, 4);
  }
  EXPECT_EQ(statuses, "504 504 404 506 506 ");
  EXPECT_EQ(sandbox.Report(rest).matched, 2);

  sandbox.Reset();
  sandbox.Add({.kept = true, .times = 0, .status = 201});
  Wire kept(sandbox);
  for (const char* status : {"404", "201", "201"}) {
    kept.Send(Post("", ""));
    EXPECT_EQ(kept.Read(1, true).bytes.substr(9, 3), status);
  }
}

TEST(SandboxRecord, KeepsHeadsByteForByte) {
  Sandbox sandbox;
  const std::string bytes =
      "get HTTP://GData.Youtube.com?a=%2C'\xff HTTP/1.0\r\nhOST:\r\nX:  two \t\r\nA:b\r\n\r\n";
  Wire(sandbox).Send(bytes);
  ASSERT_TRUE(sandbox.WaitForRequest("/"));
  const Request request = sandbox.Only();
  EXPECT_EQ(request.head, bytes);
  EXPECT_EQ(request.headers, (std::vector<std::string>{"hOST:", "X:  two \t", "A:b"}));
  EXPECT_EQ(request.method + " " + request.host + " " + request.target, "get gdata.youtube.com /?a=%2C'\xff");
  EXPECT_EQ(request.Header("x"), "  two \t");
}

// Chunks of one byte show the form parser every incomplete prefix of each delimiter.
std::string Chunked(std::string_view type, std::string_view body) {
  std::string chunks;
  for (const char c : body) chunks += std::string("1;ext=1\r\n") + c + "\r\n";
  return Post("Transfer-Encoding: chunked\r\nContent-Type: " + std::string(type) + "\r\n",
              chunks + "0\r\nTrailer: t\r\n\r\n");
}

TEST(SandboxRecord, SplitsFormsExactly) {
  const std::string tricky =
      "\r\n\r\n--b\r\r\n--bo\r\n--\r\n\r\n-bound --bound\r\nContent-Type: no\r\n\r\n\xff" +
      std::string(1, '\0') + "\r\n-";
  const std::string form =
      "preamble\r\n--bound\r\nContent-Disposition: form-data; name=\"t\"\r\n\r\n" + tricky +
      "\r\n--bound\r\nContent-Disposition: form-data; name=\"f\"; filename=\"C:\\d\\x;%22.mp4\"\r\n" +
      "Content-Type: video/mp4\r\n\r\n\r\n--bound\r\n\r\nbare\r\n--bound--\r\nepilogue";
  const std::string type = "Multipart/Form-Data; boundary=\"bound\"";
  Sandbox sandbox;
  for (const std::string& sent : {WithLength(type, form), Chunked(type, form)}) {
    sandbox.Reset();
    Wire wire(sandbox);
    wire.Send(sent);
    EXPECT_TRUE(wire.Read(1, true).bytes.starts_with("HTTP/1.1 404 "));
    const Request request = sandbox.Only();
    EXPECT_EQ(request.body, form);
    EXPECT_EQ(request.bodySha256, Sha256(form));
    ASSERT_EQ(request.fields.size(), 3u);
    EXPECT_EQ(request.fields[0].name, "t");
    EXPECT_EQ(request.fields[0].content, tricky);
    EXPECT_EQ(request.fields[0].sha256, Sha256(tricky));
    EXPECT_EQ(request.fields[1].fileName, "C:\\d\\x;%22.mp4");
    EXPECT_EQ(request.fields[1].contentType, "video/mp4");
    EXPECT_EQ(request.fields[1].size, 0u);
    EXPECT_EQ(request.fields[2].name + request.fields[2].content, "bare");
  }
}

TEST(SandboxControl, RefusesBadInputWithAReason) {
  const struct {
    const char* name;
    const char* path;
    std::string body;
    long status;
    const char* reason;
  } rows[] = {
      {"unknown command", "/nonsense", "", 404, "/nonsense"},
      {"not JSON", "/scripts", "{", 400, "not JSON"},
      {"not an object", "/scripts", "[]", 400, "object"},
      {"unknown member", "/scripts", R"({"wait": 1})", 400, "wait"},
      {"member of the wrong type", "/scripts", R"({"delayMs": "1"})", 400, "delayMs"},
      {"negative number", "/scripts", R"({"cutAfter": -1})", 400, "cutAfter"},
      {"not base64", "/scripts", R"({"bodyBase64": "abc"})", 400, "bodyBase64"},
      {"large reply", "/scripts", R"({"bodySize": 99999999999})", 400, "bodySize"},
      {"faults that exclude each other", "/scripts", R"({"passThrough": true, "answerEarly": true})", 400,
       "passThrough"},
      {"large body", "/scripts", std::string((1 << 20) + 1, ' '), 413, "1048576"},
  };
  Sandbox sandbox;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    std::string reply;
    EXPECT_EQ(sandbox.Control("POST", row.path, row.body, reply), row.status);
    EXPECT_TRUE(reply.starts_with(R"({"error":")") && reply.find(row.reason) != std::string::npos) << reply;
    EXPECT_EQ(reply.find("/boost/"), std::string::npos) << reply;
  }
  std::string reply;
  EXPECT_EQ(sandbox.Control("POST", "/scripts", "{}" + std::string((1 << 20) - 2, ' '), reply), 200)
      << "a body of the largest size";
}

TEST(SandboxControl, CarriesUtf8AsItIsAndOtherBytesInBase64) {
  Sandbox sandbox;
  std::string json;
  ASSERT_EQ(sandbox.Control("POST", "/scripts", "{\"reason\": \"Grüße\", \"bodyBase64\": \"/wA=\"}", json),
            200);
  Wire wire(sandbox);
  wire.Send(Post("X-Text: 日本\r\nContent-Length: 5\r\n", "a\xff\xc3\xa4\xe6"));
  EXPECT_EQ(wire.Read(1, true).bytes,
            "HTTP/1.1 200 Grüße\r\nContent-Length: 2\r\n\r\n" + std::string("\xff\0", 2));
  ASSERT_EQ(sandbox.Control("GET", "/requests", {}, json), 200);
  EXPECT_NE(json.find("\"X-Text: 日本\""), std::string::npos) << json;
  EXPECT_NE(json.find("\"body\":\"a\uFFFDä\uFFFD\""), std::string::npos) << json;
  EXPECT_NE(json.find("\"bodyBase64\":\"Yf/DpOY=\""), std::string::npos) << json;
}

std::string Metadata(const std::string& title, const std::string& tags = "",
                     const std::string& privacy = "public", const std::string& category = "22") {
  return "{ 'snippet': {  'title': '" + title + "',  'tags': [  " + tags +
         "  ], 'description': 'd', 'categoryId': '" + category + "'}, 'status': { 'privacyStatus' : '" +
         privacy + "'}}";
}

class SandboxTwitter : public TwitterTest {
 protected:
  // Sends a recorded request again, over plain HTTP. Returns the reply.
  std::string Replay(const Request& request, const std::string& body) {
    const std::string line = request.method + " http://" + request.host + request.target;
    Wire wire(sandbox);
    wire.Send(line + request.head.substr(request.method.size() + 1 + request.target.size()) + body);
    return wire.Read(1, true).bytes;
  }
};

TEST_F(SandboxTwitter, RejectsAReusedNonce) {
  const TempFile photo("photo.png", Png("content"));
  TwitterUploadFile upload{};
  FillPath(upload, photo.Path());
  Fill(upload.statusText, "look");
  FileUploader uploader{};
  ASSERT_EQ(StartTwitterUploadPhoto(&uploader, &consumer, &token, &upload), VELK_OK);
  EXPECT_EQ(GetTwitterOauthUrl("ck", "ck-secret", nullptr, std::string(1100, ' ').data()), VELK_OK);

  const std::vector<Request> requests = sandbox.Requests();
  ASSERT_EQ(requests.size(), 5U);
  std::string otherMedia = requests[1].body;
  const std::string id = requests[1].Field("media_id")->content;
  otherMedia.replace(otherMedia.find(id), id.size(), std::string(id.size(), '7'));
  const struct {
    const char* name;
    const Request& request;
    std::string body;
    const char* reply;
  } rows[] = {
      {"INIT", requests[0], requests[0].body, "Could not authenticate you"},
      {"APPEND", requests[1], requests[1].body, "The media was finalized before"},
      {"APPEND to other media", requests[1], otherMedia, "Could not authenticate you"},
      {"FINALIZE", requests[2], requests[2].body, "Segments do not add up"},
      {"tweet", requests[3], requests[3].body, "Could not authenticate you"},
      {"request token", requests[4], "", "Could not authenticate you"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const std::string reply = Replay(row.request, row.body);
    EXPECT_NE(reply.find(row.reply), std::string::npos) << reply;
    EXPECT_EQ(reply.substr(9, 3),
              row.reply == std::string_view("Could not authenticate you") ? "401" : "400");
  }
  EXPECT_EQ(Count("refused"), 4U);
}

TEST(SandboxYoutube, RejectsWhatTheServiceRejects) {
  struct Row {
    const char* name;
    std::string token, length, body;
    const char* status;
  };
  const Row rows[] = {
      {"accepted", "t", "5", Metadata(std::string(100, 'a'), "'x','y'"), "200"},
      {"strict JSON", "t", "5",
       R"({"snippet":{"title":"a\u00e9","categoryId":"1"},"status":{"privacyStatus":"private"}})", "200"},
      {"raw line feed in a string", "t", "5", Metadata("a\nb"), "200"},
      {"no token", "", "5", Metadata("a"), "401"},
      {"non-numeric length", "t", "five", Metadata("a"), "400"},
      {"escapes of one character and of a pair", "t", "5", Metadata(R"(\ud55c\ud83d\ude00)"), "200"},
      {"truncated escape", "t", "5", "{'a':'\\u", "400"},
      {"quote in a string", "t", "5", Metadata("it's"), "400"},
      {"truncated", "t", "5", Metadata("a").substr(0, 60), "400"},
      {"trailing data", "t", "5", Metadata("a") + "x", "400"},
      {"non-numeric category", "t", "5", Metadata("a", "", "public", "Music"), "400"},
      {"angle bracket in a tag", "t", "5", Metadata("a", "'>'"), "400"},
      {"category of no video", "t", "5", Metadata("a", "", "public", "30"), "400"},
  };
  Sandbox sandbox;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Wire wire(sandbox);
    wire.Send(
        "POST http://www.googleapis.com/upload/youtube/v3/videos?uploadType=resumable&part=snippet,status "
        "HTTP/1.1\r\nHost: "
        "h\r\nConnection: close\r\n"
        "Authorization: Bearer " +
        row.token + "\r\nX-Upload-Content-Length: " + row.length +
        "\r\nContent-Length: " + std::to_string(row.body.size()) + "\r\n\r\n" + row.body);
    EXPECT_EQ(wire.Read(0, false).bytes.substr(9, 3), row.status);
  }
}

}  // namespace
}  // namespace velk::test
