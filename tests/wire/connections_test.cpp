// Which requests of a call share a connection, and how a call continues when the service closes a reused one.
#include <algorithm>
#include <map>

#include "support/host.h"
#include "support/service_fixture.h"

namespace velk::test {
namespace {

class CallConnections : public ServiceTest {
 protected:
  // Returns one letter per request that got a reply. Each connection has its own letter, in order of first
  // use.
  std::string Connections() {
    std::map<int, char> letters;
    std::string used;
    for (const Request& request : sandbox.Requests()) {
      if (request.status == 0) continue;
      used += letters.try_emplace(request.connection, static_cast<char>('a' + letters.size())).first->second;
    }
    return used;
  }

  // Publishes a photo. Every kind of update can change its story.
  void PublishStory() {
    ASSERT_EQ(CallNamed("StartFacebookUploadPhoto").run(host), VELK_OK);
    host.objectId = host.text;
  }

  TempFile photo{"photo.png", Png(RandomBytes(2'500'000, 9))};
  Host host{photo.Path()};
};

struct CallRow {
  const char* call;
  std::string_view connections;  // one letter per request
};

// The calls that send several requests, or send one that must not be repeated.
constexpr CallRow kCallRows[] = {
    {"StartTwitterUploadPhoto", "aaaaab"},
    {"StartFacebookUploadPhoto", "aa"},
    {"StartFacebookUploadVideo", "a"},
    {"SetFacebookUpdateInfo message", "a"},
    {"SetFacebookUpdateInfo privacy and message", "aaa"},
    {"SetFacebookUpdateInfo description", "a"},
    {"StartYoutubeUploadFile", "ab"},
};

TEST_F(CallConnections, CarryRepeatableRequestsAndCloseWithTheCall) {
  for (const CallRow& row : kCallRows) {
    SCOPED_TRACE(row.call);
    sandbox.Reset();
    PublishStory();
    const size_t before = sandbox.Requests().size();
    EXPECT_EQ(CallNamed(row.call).run(host), VELK_OK);
    EXPECT_EQ(Connections().substr(0, before), "aa");
    std::string used = Connections().substr(before);
    for (char& letter : used) letter = static_cast<char>(letter - 1);
    EXPECT_EQ(used, row.connections) << "no connection of an earlier call is reused";
    EXPECT_TRUE(sandbox.WaitFor([](const std::vector<Request>& requests) {
      return std::ranges::none_of(requests, &Request::connectionOpen);
    }));
  }
}

TEST_F(CallConnections, AlsoCarryTheStatusQuery) {
  sandbox.Add({.status = 202, .body = R"({"media_id_string":"7"})"});
  sandbox.Add({.times = 3, .status = 204});
  sandbox.Add({.body = R"({"processing_info":{"state":"pending"}})"});
  sandbox.Add({.method = "GET"});
  sandbox.Add({.path = "/1.1/statuses/update.json"});
  EXPECT_EQ(CallNamed("StartTwitterUploadPhoto").run(host), VELK_OK);
  EXPECT_EQ(Connections(), "aaaaaab");
}

// A call must return the same result as with one connection per request, and must publish only once.
TEST_F(CallConnections, MayCloseAtAnyTime) {
  const struct {
    const char* name;
    Script script;
  } services[] = {
      {"closes after each reply", {.times = 0, .passThrough = true, .hangUp = true}},
      {"closes when a request arrives", {.kept = true, .times = 0, .cutAfter = 0, .stopReadingAfter = 0}},
      {"closes after reading a request", {.kept = true, .times = 0, .cutAfter = 0}},
      {"resets when a request arrives", {.kept = true, .times = 0, .reset = true, .stopReadingAfter = 0}},
      {"resets while reading a request",
       {.kept = true, .times = 0, .reset = true, .stopReadingAfter = 200'000}},
      {"resets after reading a request", {.kept = true, .times = 0, .reset = true}},
  };
  for (const auto& service : services) {
    for (const CallRow& row : kCallRows) {
      SCOPED_TRACE(std::string(row.call) + ", service " + service.name);
      sandbox.Reset();
      PublishStory();
      const size_t before = Connections().size();
      sandbox.Add(service.script);
      EXPECT_EQ(CallNamed(row.call).run(host), VELK_OK);
      EXPECT_EQ(Connections().size() - before, row.connections.size());
    }
  }
}

TEST_F(CallConnections, AreNotRetriedOnceAReplyHasStarted) {
  const int broken = sandbox.Add({.kept = true, .cutAfter = 30, .reset = true});
  EXPECT_EQ(CallNamed("StartTwitterUploadPhoto").run(host), VELK_TRANSFER_FAILED);
  EXPECT_EQ(sandbox.Report(broken).matched, 1);
  EXPECT_EQ(sandbox.Requests().size(), 2U);
}

}  // namespace
}  // namespace velk::test
