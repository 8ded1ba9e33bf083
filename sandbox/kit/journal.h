// Every request that arrived, in order, as the control URL returns it.
#pragma once

#include <atomic>
#include <boost/json/object.hpp>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "kit/content.h"
#include "kit/multipart.h"
#include "net/head.h"

namespace velk::sandbox {

// A complete body, and the fields of a multipart form.
struct Received {
  Content body;
  std::vector<FormPart> fields;
};

// The connection that carried requests. It is open until the sandbox has seen its end.
struct Connection {
  explicit Connection(std::uint64_t number) : id(number) {}

  const std::uint64_t id;
  std::atomic<bool> open{true};
};

// One request. The head never changes. The rest is filled in while the request is served.
class Entry {
 public:
  Entry(Head requestHead, std::string requestScheme, std::string tunnelHead,
        std::shared_ptr<const Connection> requestConnection)
      : head(std::move(requestHead)),
        scheme(std::move(requestScheme)),
        connectHead(std::move(tunnelHead)),
        connection(std::move(requestConnection)) {}

  const Head head;
  const std::string scheme;
  const std::string connectHead;
  const std::shared_ptr<const Connection> connection;
  std::atomic<std::uint64_t> bodyReceived{0};
  std::atomic<bool> scripted{false};
  std::atomic<int> status{0};

  void SetReceived(std::shared_ptr<const Received> received);
  boost::json::object ToJson(std::uint64_t id) const;  // its strings may hold any bytes

 private:
  mutable std::mutex mutex_;
  std::shared_ptr<const Received> received_;
};

// Holds the newest exchanges, and counts all since the last reset.
class Journal {
 public:
  explicit Journal(std::size_t limit) : limit_(limit) {}

  void Add(std::shared_ptr<Entry> entry);
  void CountBytes(std::uint64_t bytes) { bytes_ += bytes; }
  std::string ToJson() const;  // an array, complete as text
  boost::json::object Totals() const;
  void Clear();

 private:
  const std::size_t limit_;
  mutable std::mutex mutex_;
  std::deque<std::shared_ptr<Entry>> entries_;
  std::uint64_t total_ = 0;
  std::atomic<std::uint64_t> bytes_ = 0;
};

// Collects one body while it arrives.
class Intake {
 public:
  Intake(Store& store, const Head& head);
  void Append(std::string_view bytes);
  std::shared_ptr<const Received> Finish();  // throws BadRequest when a form ends before its last delimiter
  std::shared_ptr<const Received> FinishPart();  // of a body that ended early; without fields

 private:
  const std::optional<std::string> boundary_;
  std::optional<MultipartParser> form_;
  Content body_;
};

}  // namespace velk::sandbox
