// Every request that arrived, in order, as the control address gives it back.
#pragma once

#include <atomic>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "kit/content.h"
#include "kit/multipart.h"
#include "net/head.h"

namespace velk::sandbox {

// A body that is complete, with its form's fields when it is a multipart form.
struct Received {
  Content body;
  std::vector<FormPart> fields;
};

// The connection that requests came over. It is open until the sandbox has seen its end.
struct Connection {
  const std::uint64_t id;
  std::atomic<bool> open{true};
};

// One request. The head never changes; the rest is filled in while the request is served.
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
  boost::json::object ToJson(std::size_t id) const;

 private:
  mutable std::mutex mutex_;
  std::shared_ptr<const Received> received_;
};

class Journal {
 public:
  void Add(std::shared_ptr<Entry> entry);
  boost::json::array ToJson() const;
  void Clear();

 private:
  mutable std::mutex mutex_;
  std::vector<std::shared_ptr<Entry>> entries_;
};

// Collects one body while it arrives.
class Intake {
 public:
  Intake(Store& store, const Head& head);
  void Append(std::string_view bytes);
  std::shared_ptr<const Received> Finish();  // throws BadRequest when a form ends before its last delimiter

 private:
  std::optional<MultipartParser> form_;
  Content body_;
};

}  // namespace velk::sandbox
