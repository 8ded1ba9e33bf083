// The interface of a simulated service: routes with their request handlers, switches, and a state.
#pragma once

#include <boost/json/object.hpp>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kit/clock.h"
#include "kit/pieces.h"
#include "kit/reply.h"
#include "kit/request.h"

namespace velk::sandbox {

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

// The routes of one service. A pattern is a path in which {name} matches one segment ("/{node}/photos"), or
// the start of one ("/show/{id}.json"). The first matching route applies, so add a fixed path before a
// pattern that also matches it.
class Routes {
 public:
  void Add(std::string_view host, std::string_view method, std::string_view pattern, Handler handler);
  // Sets the path parameters. Returns null without a matching route.
  const Handler* Find(ServiceRequest& request) const;
  std::string WhyNone(const ServiceRequest& request) const;  // why no route matches
  bool Serves(std::string_view host) const;

 private:
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

// The object with that identifier; null if there is none. It searches from the end, where new ones are.
template <typename Queue>
auto FindNewest(const Queue& objects, std::string_view id) -> const typename Queue::value_type* {
  for (auto object = objects.rbegin(); object != objects.rend(); ++object) {
    if (object->id == id) return &*object;
  }
  return nullptr;
}

// For uploads and sign-ins that clients began and did not finish. Those of an order of age lose the oldest.
template <typename Container>
void LimitPending(Container& pending) {
  if (pending.size() >= kMaxObjects) pending.erase(pending.begin());
}

// A number that a test sets through the control URL, to make a service behave in another way. None: as usual.
using Switch = std::optional<std::uint64_t>;

// For a switch that is the number of requests, or other units, that a service still takes. Returns false when
// there are not enough.
bool TakeFrom(Switch& remaining, std::uint64_t units = 1);

// Only one thread calls a service at a time, so a service needs no mutex.
class Service {
 public:
  virtual ~Service() = default;
  virtual std::string Name() const = 0;  // key in GET /state and /switches
  virtual std::span<const std::string_view> Hosts() const = 0;
  virtual void RegisterRoutes() = 0;
  virtual std::map<std::string_view, Switch*> Switches() { return {}; }
  virtual boost::json::object State() const = 0;
  virtual void Reset() = 0;

  bool Serves(std::string_view host) const;
  Reply Handle(const Head& head, std::shared_ptr<const Received> received);
  // Takes the first part of a body. Its client has gone, so that there is nobody to reply to.
  virtual void TakePartial(const ServiceRequest&) {}

  // ---- What outlives the process: records of several kinds, each with an identifier ----

  using RecordId = std::pair<std::string, std::string>;
  // Those that changed since they were last written, in the order of their first change.
  const std::vector<RecordId>& Touched() const { return touched_; }
  void ForgetTouched() { touched_.clear(); }
  virtual std::optional<boost::json::object> Save(const RecordId& id) const = 0;  // none: it is gone
  virtual void Load(const RecordId& id, const boost::json::object& record) = 0;
  // The kind of a piece is kPieceKind, and its identifier UPLOAD/NUMBER. Null: it is gone.
  virtual const Piece* FindPiece(const std::string&) const { return nullptr; }
  virtual void AddPiece(const std::string&, const Piece&) {}
  static constexpr const char* kPieceKind = "piece";
  virtual const char* UploadKind() const { return "session"; }  // the kind of what has pieces

  // ---- For people ----

  // What GET /objects has of a record. None: it is gone, or not for people.
  virtual std::optional<boost::json::object> Describe(const RecordId& id) const = 0;
  // What a user's browser gets who agrees to a sign-in. None: the service has no such sign-in.
  virtual std::optional<Reply> Authorize(const std::string&) { return std::nullopt; }

 protected:
  // A handler calls it for each record that it changes.
  void Touch(const char* kind, const std::string& id = {});
  void TouchPieces(const std::string& upload, std::size_t count);
  // Changes method and path to those that the routes have.
  virtual void Normalize(ServiceRequest&) const {}
  virtual Reply UnknownPath(const ServiceRequest& request) const = 0;

  Routes routes_;

 private:
  std::vector<RecordId> touched_;
};

}  // namespace velk::sandbox
