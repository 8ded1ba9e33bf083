// The interface of a simulated service: routes with their request handlers, and a state.
#pragma once

#include <boost/json/object.hpp>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "kit/journal.h"
#include "kit/reply.h"
#include "net/text.h"

namespace velk::sandbox {

// The input of a request handler.
struct ServiceRequest {
  const Head& head;
  std::shared_ptr<const Received> received;
  Pairs query;                                        // decoded
  std::map<std::string, std::string> pathParameters;  // by their names in the pattern; decoded

  std::string Query(std::string_view name) const { return Find(query, name).value_or(""); }
  std::string PathParameter(const std::string& name) const { return pathParameters.at(name); }
  Pairs Form() const { return ParsePairs(received->body.Text()); }  // body as form-encoded
  const FormPart* Field(std::string_view name) const;               // of a multipart form; null if absent
  std::string BearerToken() const;  // from "Authorization: Bearer ..."; empty if absent
};

using Handler = std::function<Reply(const ServiceRequest&)>;

// Wraps a handler, so that an Error that it throws becomes an error reply of the service.
template <typename Error>
Handler WithErrorReply(Handler handler, Reply (*errorReply)(const Error&)) {
  return [handler = std::move(handler), errorReply](const ServiceRequest& request) {
    try {
      return handler(request);
    } catch (const Error& error) {
      return errorReply(error);
    }
  };
}

// The routes of one service. A pattern is a path in which {name} matches one segment ("/{node}/photos"). The
// first matching route applies, so add a fixed path before a pattern that also matches it.
class Routes {
 public:
  void Add(std::string_view host, std::string_view method, std::string_view pattern, Handler handler);

 private:
  friend class Services;
  struct Route {
    std::string host, method, pattern;
    Handler handler;
  };
  std::vector<Route> routes_;
};

// A service remembers at most this many objects of a kind, so that the memory stays bounded.
constexpr std::size_t kMaxObjects = 20'000;

template <typename Queue>
void KeepNewest(Queue& objects) {
  if (objects.size() > kMaxObjects) objects.pop_front();
}

// For uploads and sign-ins that clients began and did not finish. Those of an order of age lose the oldest.
template <typename Container>
void LimitPending(Container& pending) {
  if (pending.size() >= kMaxObjects) pending.erase(pending.begin());
}

// Only one thread calls a service at a time, so a service needs no mutex.
class Service {
 public:
  virtual ~Service() = default;
  virtual std::string Name() const = 0;  // key in GET /state
  virtual void RegisterRoutes(Routes& routes) = 0;
  virtual boost::json::object State() const = 0;
  virtual void Reset() = 0;
};

// Dispatches each request to the service that has a matching route.
class Services {
 public:
  void Add(std::unique_ptr<Service> service);
  Reply Handle(const Head& head, std::shared_ptr<const Received> received);  // 404 without a matching route
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

// The hosts that the sandbox simulates. Its certificate is valid for each of them.
inline constexpr std::string_view kServiceHosts[] = {
    "graph.facebook.com", "graph-video.facebook.com", "www.facebook.com",  "api.twitter.com",
    "upload.twitter.com", "www.googleapis.com",       "gdata.youtube.com",
};
bool IsServiceHost(std::string_view host);

}  // namespace velk::sandbox
