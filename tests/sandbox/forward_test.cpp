// The sandbox in front of the real services. The sandbox that runs this program is in their place.
#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <set>

#include "support/files.h"
#include "support/host.h"
#include "support/http.h"
#include "support/running_sandbox.h"
#include "support/service_fixture.h"
#include "support/tls_server.h"

namespace velk::test {
namespace {

namespace json = boost::json;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kHosts[] = {"graph.facebook.com", "graph-video.facebook.com", "api.twitter.com",
                                  "upload.twitter.com", "www.googleapis.com"};
const std::string kGraph = "graph.facebook.com";

std::string ReadAll(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string ReadFrom(Sandbox& sandbox, const std::string& path) {
  std::string reply;
  EXPECT_EQ(sandbox.Control("GET", path, "", reply), 200) << path;
  return reply;
}

// A sandbox that forwards: each host to the same address, with this authority alone.
class Forwarder {
 public:
  Forwarder(const std::string& address, const std::string& authority, std::vector<std::string> options = {})
      : authority_("authority.pem", authority) {
    options.insert(options.end(), {"--forward", "--upstream-ca", authority_.Path()});
    for (const std::string host : kHosts) options.insert(options.end(), {"--upstream", host + "=" + address});
    running_.emplace(VELK_SANDBOX_PROGRAM, options, errors_);
    if (!running_->sandbox) throw std::runtime_error(Errors());
  }

  Sandbox& Box() { return *running_->sandbox; }
  std::string Errors() const { return ReadAll(errors_); }
  // Waits until the exchange is over, since the client has the reply before.
  std::string ErrorsWith(const std::string& text) const {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (Errors().find(text) == std::string::npos && std::chrono::steady_clock::now() < end)
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return Errors();
  }
  int ProcessId() const { return running_->ProcessId(); }
  std::string Reason() {
    std::string reason;
    Box().WaitFor([&](const auto&) {
      reason = Box().Newest().at("reason").as_string();
      return !reason.empty();
    });
    return reason;
  }
  std::string Get(const std::string& path) { return ReadFrom(Box(), path); }

 private:
  TempFile authority_;
  const std::filesystem::path errors_ = authority_.File().parent_path() / "errors";
  std::optional<RunningSandbox> running_;
};

class SandboxForward : public testing::Test {
 protected:
  static std::string AddressOf(const Sandbox& sandbox) {
    return sandbox.Proxy().substr(sizeof "http://" - 1);
  }

  Sandbox service;
  Forwarder forwarder{AddressOf(service), service.Certificate()};
};

// The same request through the forwarder and without it. Both replies must be equal.
TEST_F(SandboxForward, ReturnsEveryReplyAsItIs) {
  const struct {
    const char* name;
    Script script;
    std::string method = "GET";
  } rows[] = {
      {"counted", {.headers = {"X-A:  b ", "x-a: c"}, .body = std::string("a\0b", 3)}},
      {"large", {.body = "x", .bodySize = 300'000}},
      {"phrase", {.status = 404, .reason = "Gone Fishing"}},
      {"chunked",
       {.headers = {"Transfer-Encoding: chunked"}, .body = "3;a=b\r\nabc\r\n1\r\nd\r\n0\r\nT: t\r\n\r\n"}},
      {"until the end", {.body = "abc", .noContentLength = true}},
      {"no content", {.status = 204}},
      {"not modified", {.status = 304}},
      {"head", {.headers = {"Content-Length: 5"}}, "HEAD"},
      {"close", {.headers = {"Connection: close"}, .body = "abc"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    service.Reset();
    Script twice = row.script;
    twice.times = 2;
    service.Add(twice);
    const HttpRequest request{row.method, kGraph + "/x"};
    const HttpReply direct = Send(service, request);
    const HttpReply forwarded = Send(forwarder.Box(), request);
    EXPECT_EQ(forwarded.head, direct.head);
    EXPECT_EQ(forwarded.body, direct.body);
  }
}

TEST_F(SandboxForward, SendsEveryRequestAsItIs) {
  const HttpRequest request{"POST",
                            kGraph + "/a%20b?x=%7E&x",
                            {"X-One:  1", "Connection: X-Two, close", "X-Two: 2", "TE: trailers",
                             "Keep-Alive: 1", "Proxy-Authorization: p"},
                            std::string("\0\r\n", 3)};
  Send(forwarder.Box(), request);
  const Request arrived = service.Only();
  EXPECT_EQ(arrived.head,
            "POST /a%20b?x=%7E&x HTTP/1.1\r\nHost: graph.facebook.com\r\nAccept: */*\r\nX-One:  "
            "1\r\nContent-Length: "
            "3\r\nContent-Type: application/x-www-form-urlencoded\r\nConnection: close\r\n\r\n");
  EXPECT_EQ(arrived.body, request.body);

  service.Reset();
  Send(forwarder.Box(), {"POST", kGraph + "/x", {"Transfer-Encoding: chunked", "Content-Type: a/b"}, "abc"});
  EXPECT_THAT(service.Only().head, HasSubstr("Transfer-Encoding: chunked\r\n"));
  EXPECT_EQ(service.Only().body, "abc");

  service.Reset();
  Send(forwarder.Box(),
       {"POST", kGraph + "/x", {"Content-Type: multipart/form-data; boundary=b"}, "no form"});
  EXPECT_THAT(forwarder.Reason(), HasSubstr("the service states: malformed HTTP request"));
}

TEST_F(SandboxForward, RecordsTimesAndTheServicesReason) {
  Host host("none");
  SetLibVelkUploadProxy(forwarder.Box().Proxy().c_str());
  host.accessToken = "expired";
  EXPECT_NE(CallNamed("GetFacebookUserNameEmail").run(host), VELK_OK);
  SetLibVelkUploadProxy("");
  EXPECT_THAT(forwarder.Reason(), HasSubstr("the service states: Error validating access token: "));
  const std::string line = "/me: the service states: Error validating access token: ";
  EXPECT_THAT(forwarder.ErrorsWith(line), HasSubstr(line));
  const json::object times = forwarder.Box().Newest().at("times").as_object();
  for (const char* const phase : {"tls", "head", "upstreamConnect", "upstreamTls", "service", "reply"})
    EXPECT_TRUE(times.contains(phase)) << phase;
}

// ---- Trust ----

TEST(SandboxForwardTrust, RefusesServicesThatCannotProveWhoTheyAre) {
  const Identity authority = MakeIdentity("authority", 10, nullptr);
  const Identity other = MakeIdentity("other authority", 10, nullptr);
  const struct {
    const char* name;
    Identity identity;
    const char* reason;  // empty: it is accepted
  } rows[] = {
      {"right", MakeIdentity(kGraph, 10, &authority), ""},
      {"wrong name", MakeIdentity("api.twitter.com", 10, &authority), "hostname mismatch"},
      {"expired", MakeIdentity(kGraph, -1, &authority), "certificate has expired"},
      {"unknown authority", MakeIdentity(kGraph, 10, &other), "unable to get local issuer certificate"},
      {"no authority", MakeIdentity(kGraph, 10, nullptr), "self-signed certificate"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    TlsServer server(row.identity);
    Forwarder forwarder("127.0.0.1:" + server.Port(), authority.Pem());
    const std::string reason(row.reason);
    const HttpReply reply = Send(forwarder.Box(), {"GET", "https://" + kGraph + "/me?access_token=t"});
    EXPECT_EQ(reply.status, reason.empty() ? 204 : 502);
    EXPECT_THAT(reply.body, HasSubstr(reason));
    EXPECT_THAT(forwarder.ErrorsWith(reason), HasSubstr(reason));
    if (!reason.empty()) {
      EXPECT_THAT(forwarder.Reason(), HasSubstr(reason));
    }
    EXPECT_EQ(server.Received().empty(), !reason.empty()) << server.Received();
  }
}

TEST_F(SandboxForward, ReachesTheServicesAlone) {
  const struct {
    const char *url, *reason;
  } rows[] = {{"example.com/", "\"example.com\" is none of them"},
              {"127.0.0.1/", "\"127.0.0.1\" is none of them"},
              {"graph.facebook.com:8080/", "at port 80 alone"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.url);
    EXPECT_EQ(Send(forwarder.Box(), {"GET", row.url}).status, 502);
    EXPECT_THAT(forwarder.Reason(), HasSubstr(row.reason));
  }
  EXPECT_TRUE(service.Requests().empty());
  EXPECT_EQ(Send(forwarder.Box(), {"GET", "oauth2.googleapis.com:99/"}).status, 502);
  Forwarder nowhere("127.0.0.1:1", service.Certificate());
  EXPECT_EQ(Send(nowhere.Box(), {"GET", kGraph + "/"}).status, 502);
  EXPECT_THAT(nowhere.Reason(), HasSubstr("cannot connect to graph.facebook.com at 127.0.0.1 port 1: "));
}

// ---- Faults ----

TEST_F(SandboxForward, AppliesScriptsInFrontOfTheService) {
  const HttpRequest request{"POST", kGraph + "/me/feed", {}, "access_token=t&message=hello"};
  forwarder.Box().Add({.status = 503, .body = "scripted"});
  EXPECT_EQ(Send(forwarder.Box(), request).body, "scripted");
  EXPECT_TRUE(service.Requests().empty());

  forwarder.Box().Add({.withForm = {{"message", "hello"}}, .status = 418});
  forwarder.Box().Add({.path = "/large", .status = 419});
  EXPECT_EQ(Send(forwarder.Box(), {"POST", kGraph + "/large", {}, std::string(200'000, 'x')}).status, 419)
      << "a script after one that compares the body";
  HttpRequest other = request;
  other.body = "access_token=t&message=other";
  EXPECT_EQ(Send(forwarder.Box(), other).status, 200)
      << "no match, so it is passed on after its body was compared";
  EXPECT_EQ(Send(forwarder.Box(), request).status, 418);
  EXPECT_EQ(service.Requests().size(), 1U);

  forwarder.Box().Add({.passThrough = true, .delayMs = 60});
  EXPECT_EQ(Send(forwarder.Box(), request).status, 200);
  EXPECT_TRUE(forwarder.Box().WaitFor([this](const auto&) {  // the client has the reply before
    const json::value times = forwarder.Box().Newest().at("times");
    return times.as_object().contains("reply") && times.at("reply").to_number<double>() >= 60;
  }));
  service.Add({.status = 413, .body = "big"});
  forwarder.Box().Add({.passThrough = true, .cutAfter = 10});
  HttpRequest cut = request;
  cut.mayFail = true;
  Send(forwarder.Box(), cut);
  EXPECT_THAT(forwarder.Reason(), HasSubstr("cutAfter")) << "not that the service gave no reason";
  service.Add({.status = 413, .headers = {"Content-Encoding: br"}, .body = "packed"});
  Send(forwarder.Box(), request);
  EXPECT_THAT(forwarder.Reason(), HasSubstr("its reason is not known"));
  const int unframed = forwarder.Box().Add({.passThrough = true, .noContentLength = true});
  EXPECT_THAT(Send(forwarder.Box(), request).head, Not(HasSubstr("Content-Length")));
  EXPECT_EQ(forwarder.Box().FiredFaults(unframed), std::vector<std::string>{"noContentLength"});
}

// A reset is an error of the next send or of the next receive, whichever comes first. On Windows, the client
// can take it for an orderly end when the send has reported it.
CURLcode ResultOf(const HttpReply& reply) {
#ifdef _WIN32
  if (reply.result == CURLE_GOT_NOTHING) return CURLE_RECV_ERROR;
#endif
  return reply.result == CURLE_SEND_ERROR ? CURLE_RECV_ERROR : reply.result;
}

// Direct and forwarded, a client sees the same end of its connection.
TEST_F(SandboxForward, EndsConnectionsAsTheServiceDoes) {
  const struct {
    const char* name;
    Script script;
  } rows[] = {
      {"reset before the reply", {.reset = true}},
      {"reset inside the reply", {.body = "abcdef", .cutBodyAfter = 3, .reset = true}},
      {"cut inside the body", {.body = "abcdef", .cutBodyAfter = 3}},
      {"cut inside the head", {.cutAfter = 20}},
      {"reset inside the request", {.reset = true, .stopReadingAfter = 3}},
      {"reply before the end of the request", {.status = 400, .body = "no", .answerEarly = true}},
  };
  for (const auto& row : rows) {
    for (const char* const scheme : {"http://", "https://"}) {
      SCOPED_TRACE(std::string(row.name) + ' ' + scheme);
      const HttpRequest request{"POST", scheme + kGraph + "/x", {}, std::string(200'000, 'x'), true};
      service.Reset();
      service.Add(row.script);
      const HttpReply direct = Send(service, request);
      service.Add(row.script);
      const HttpReply forwarded = Send(forwarder.Box(), request);
      service.Reset();
      forwarder.Box().Add(row.script);
      const HttpReply scripted = Send(forwarder.Box(), request);
      for (const HttpReply& reply : {forwarded, scripted}) {
        EXPECT_EQ(ResultOf(reply), ResultOf(direct));
        EXPECT_EQ(reply.status, direct.status);
        EXPECT_EQ(reply.body, direct.body);
      }
    }
  }
}

// ---- Streaming ----

class SandboxForwardStream : public SandboxForward {
 protected:
  SandboxForwardStream() { SetLibVelkUploadProxy(forwarder.Box().Proxy().c_str()); }
  ~SandboxForwardStream() override { SetLibVelkUploadProxy(""); }

  // In KiB. None where the system does not report it.
  std::optional<long> MostMemory() {
    std::ifstream status("/proc/" + std::to_string(forwarder.ProcessId()) + "/status");
    for (std::string word; status >> word;) {
      long size = 0;
      if (word == "VmHWM:" && status >> size) return size;
    }
    return std::nullopt;
  }
};

TEST_F(SandboxForwardStream, HoldsNoMoreThanAPiece) {
  const TempFile video = TempFile::Sparse("video.mp4", 24'000'000);
  Host host(video.Path());
  const auto before = MostMemory();
  EXPECT_EQ(CallNamed("StartYoutubeUploadFile").run(host), VELK_OK);
  EXPECT_EQ(service.Requests().back().bodySize, 24'000'000U);
  EXPECT_EQ(forwarder.Box().Newest().at("bodySize"), 24'000'000);
  const auto after = MostMemory();
  EXPECT_LT(after.value_or(0) - before.value_or(0), 8 * 1024);
}

TEST_F(SandboxForwardStream, KeepsProgressAndCancelUseful) {
  const TempFile video = TempFile::Sparse("video.mp4", 48'000'000);
  Host host(video.Path());
  service.Add({.method = "PUT", .passThrough = true, .readSlowly = 4'000'000});
  double total = 0;
  const int32_t result = CancelInMidTransfer(
      service, 1, &host.uploader, GetYoutubeUploadFileProgress, CancelYoutubeUploadFile,
      [&] { return CallNamed("StartYoutubeUploadFile").run(host); }, total);
  EXPECT_EQ(result, VELK_CANCELLED);
  EXPECT_EQ(total, 48'000'000);
  EXPECT_TRUE(service.WaitFor([](const std::vector<Request>& requests) {
    return !requests.back().connectionOpen && !requests.back().bodyComplete;
  })) << "the service sees that the client has gone";
  EXPECT_LT(service.Requests().back().bodyReceived, 48'000'000U);
}

TEST_F(SandboxForwardStream, EndsWithAReset) {
  const TempFile video("video.mp4", "content");
  Host host(video.Path());
  service.Add({.method = "PUT", .neverAnswer = true});
  int32_t result = VELK_OK;
  std::thread upload([&] { result = CallNamed("StartYoutubeUploadFile").run(host); });
  EXPECT_TRUE(service.WaitForBody(1, 7));
  forwarder.Box().Reset();
  upload.join();
  EXPECT_EQ(result, VELK_TRANSFER_FAILED);
  EXPECT_TRUE(service.WaitFor([](const auto& requests) { return !requests.back().connectionOpen; }));
}

// ---- Secrets ----

// Appends each string, and the bytes of those in base64.
void CollectStrings(const json::value& value, std::string& all) {
  if (value.is_string()) {
    const std::string text(value.get_string());
    std::string bytes(text.size(), '\0');
    const int size =
        EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                        reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()));
    all += text + '\n' + bytes.substr(0, static_cast<std::size_t>(std::max(size, 0))) + '\n';
  }
  if (value.is_array()) {
    for (const json::value& element : value.get_array()) CollectStrings(element, all);
  }
  if (!value.is_object()) return;
  for (const auto& [name, member] : value.get_object()) CollectStrings(member, all);
}

// The values of these names in what arrived at the service, and in what it replied.
std::set<std::string> SecretsIn(const std::string& text) {
  static const std::regex kNamed(
      R"re((?:access_token|oauth_token|oauth_token_secret|oauth_signature|upload_id|token)"?[=:] ?"?([\w%./|-]{8,}))re");
  std::set<std::string> values;
  for (std::sregex_iterator found(text.begin(), text.end(), kNamed), end; found != end; ++found)
    values.insert((*found)[1]);
  return values;
}

TEST_F(SandboxForwardStream, ShowsNoSecretOfAnyCall) {
  const TempFile photo("photo.png", Png(RandomBytes(300, 1)));
  const auto runAll = [&](const std::string& proxy) {
    service.Reset();
    SetLibVelkUploadProxy(proxy.c_str());
    std::vector<int32_t> results;
    for (const Call& call : Calls()) {
      Host host(photo.Path());
      host.accessToken = "accesstokenofauser";
      Fill(host.consumer.consumerSecret, "ck-secret");
      results.push_back(call.run(host));
    }
    return results;
  };
  const std::vector<int32_t> direct = runAll(service.Proxy());
  EXPECT_EQ(runAll(forwarder.Box().Proxy()), direct);

  std::string sent, shown;
  CollectStrings(json::parse(ReadFrom(service, "/requests")), sent);
  for (const char* const path : {"/requests", "/requests?brief=1", "/har"})
    CollectStrings(json::parse(forwarder.Get(path)), shown);
  shown += forwarder.Errors();
  std::set<std::string> secrets = SecretsIn(sent);
  EXPECT_GE(secrets.size(), 10U);
  secrets.insert({"accesstokenofauser", "sec&ret", "sec%26ret", "ck-secret", "7-tk", "1234567"});
  for (const std::string& secret : secrets) EXPECT_THAT(shown, Not(HasSubstr(secret)));
  EXPECT_THAT(shown, HasSubstr("…"));
}

TEST_F(SandboxForward, HidesInABodyWhatTheHeadNames) {
  service.Add({.status = 302,
               .headers = {"Location: https://www.googleapis.com/?upload_id=longsecret"},
               .body = "moved to longsecret"});
  Send(forwarder.Box(), {"GET", kGraph + "/x"});
  EXPECT_TRUE(forwarder.Box().WaitFor(
      [this](const auto&) { return forwarder.Box().Newest().at("ended").as_bool(); }));
  EXPECT_THAT(forwarder.Get("/requests"), HasSubstr("moved to …"));
  EXPECT_THAT(forwarder.Get("/requests"), Not(HasSubstr("longsecret")));
}

TEST_F(SandboxForward, ShowsSecretsOnRequest) {
  Forwarder open(AddressOf(service), service.Certificate(), {"--show-secrets"});
  Send(open.Box(), {"GET", kGraph + "/me?access_token=accesstokenofauser"});
  EXPECT_THAT(open.Get("/requests"), HasSubstr("access_token=accesstokenofauser"));
  EXPECT_THAT(open.ErrorsWith("warning"), HasSubstr("warning: --show-secrets"));
}

}  // namespace
}  // namespace velk::test
