// What a stand-in service is to the sandbox: routes that take a request and give a reply, and some state.
#pragma once

#include <boost/json/object.hpp>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "kit/journal.h"
#include "net/text.h"

namespace velk::sandbox {

struct Reply {
  int status = 200;
  std::string reason = {};                // empty: the usual one
  std::vector<std::string> headers = {};  // "Name: value" lines; Content-Length is added when missing
  std::string body = {};
};

Reply JsonReply(int status, const boost::json::object& body);

// One request as a handler sees it.
struct ServiceRequest {
  const Head& head;
  const Received& received;
  Pairs query;                              // decoded
  std::map<std::string, std::string> path;  // what stood in the pattern's {name} places, decoded

  std::string Query(std::string_view name) const { return Find(query, name).value_or(""); }
  std::string Place(const std::string& name) const { return path.at(name); }
  Pairs Form() const { return ParsePairs(received.body.Bytes()); }  // of a form-encoded body
  const FormPart* Field(std::string_view name) const;               // of a multipart form; null without it
  std::string BearerToken() const;  // of "Authorization: Bearer ..."; empty without one
};

using Handler = std::function<Reply(const ServiceRequest&)>;

// The handler, with the refusals that its checks throw turned into the service's error replies.
template <typename Refusal>
Handler Refusing(Handler handler, Reply (*errorReply)(const Refusal&)) {
  return [handler = std::move(handler), errorReply](const ServiceRequest& request) {
    try {
      return handler(request);
    } catch (const Refusal& refusal) {
      return errorReply(refusal);
    }
  };
}

// Where a service enters what it answers. A pattern is an exact path, or has {name} places that each stand
// for one path segment ("/{node}/photos"); the first route entered that matches is taken, so fixed paths
// come before patterns that would cover them.
class Routes {
 public:
  void On(std::string_view host, std::string_view method, std::string_view pattern, Handler handler);

 private:
  friend class Services;
  struct Route {
    std::string host, method, pattern;
    Handler handler;
  };
  std::vector<Route> routes_;
};

// The sandbox calls a service from one thread at a time, so services need no lock of their own.
class Service {
 public:
  virtual ~Service() = default;
  virtual std::string Name() const = 0;  // its member in GET /state
  virtual void Enter(Routes& routes) = 0;
  virtual boost::json::object State() const = 0;
  virtual void Reset() = 0;
};

// All services behind one door.
class Services {
 public:
  void Add(std::unique_ptr<Service> service);
  Reply Handle(const Head& head, const Received& received);  // 404 for what no service knows
  boost::json::object State() const;
  void Reset();

 private:
  struct Member {
    std::unique_ptr<Service> service;
    Routes routes;
  };
  mutable std::mutex mutex_;
  std::vector<Member> members_;
};

// The hosts that the sandbox stands in for; its certificate names each of them.
inline constexpr std::string_view kServiceHosts[] = {
    "graph.facebook.com", "graph-video.facebook.com", "www.facebook.com",  "api.twitter.com",
    "upload.twitter.com", "www.googleapis.com",       "gdata.youtube.com",
};
bool IsServiceHost(std::string_view host);

}  // namespace velk::sandbox
