#include "kit/journal.h"

#include <boost/json/array.hpp>
#include <boost/json/serialize.hpp>

#include "kit/byte_strings.h"

namespace velk::sandbox {
namespace {

namespace json = boost::json;

json::array ToJson(const std::vector<std::string>& lines) {
  json::array array;
  for (const std::string& line : lines) array.emplace_back(line);
  return array;
}

json::object ToJson(const FormPart& part) {
  json::object field{{"name", part.name},
                     {"fileName", part.fileName},
                     {"contentType", part.contentType},
                     {"size", part.content.Size()},
                     {"sha256", part.content.Sha256()}};
  if (part.content.InMemory()) field["content"] = part.content.Bytes();
  if (!part.content.File().empty()) field["file"] = part.content.File();
  return field;
}

}  // namespace

void Entry::SetReceived(std::shared_ptr<const Received> received) {
  const std::lock_guard lock(mutex_);
  received_ = std::move(received);
}

json::object Entry::ToJson(std::uint64_t id) const {
  const std::lock_guard lock(mutex_);
  json::object entry{{"id", id},
                     {"scheme", scheme},
                     {"host", head.host},
                     {"method", head.method},
                     {"target", head.target},
                     {"rawHead", head.raw},
                     {"headers", sandbox::ToJson(head.lines)},
                     {"connectHead", connectHead},
                     {"connection", connection->id},
                     {"connectionOpen", connection->open.load()},
                     {"scripted", scripted.load()},
                     {"status", status.load()},
                     {"bodyComplete", received_ != nullptr},
                     {"bodyReceived", bodyReceived.load()}};
  if (!received_) return entry;
  const Content& body = received_->body;
  entry["bodySize"] = body.Size();
  entry["bodySha256"] = body.Sha256();
  if (body.InMemory()) entry["body"] = body.Bytes();
  if (!body.File().empty()) entry["bodyFile"] = body.File();
  json::array fields;
  for (const FormPart& part : received_->fields) fields.push_back(sandbox::ToJson(part));
  entry["fields"] = std::move(fields);
  return entry;
}

void Journal::Add(std::shared_ptr<Entry> entry) {
  const std::lock_guard lock(mutex_);
  ++total_;
  entries_.push_back(std::move(entry));
  if (entries_.size() > limit_) entries_.pop_front();
}

// Entries are serialized one by one: all of them as one tree would take several times the memory of the text.
std::string Journal::ToJson() const {
  std::unique_lock lock(mutex_);
  const auto entries = entries_;
  std::uint64_t id = total_ - entries.size();
  lock.unlock();
  std::string text = "[";
  for (const auto& entry : entries) {
    if (text.size() > 1) text += ',';
    text += json::serialize(ToText(entry->ToJson(++id)));
  }
  return text += ']';
}

json::object Journal::Totals() const {
  const std::lock_guard lock(mutex_);
  return {{"requests", total_}, {"kept", entries_.size()}, {"bodyBytes", bytes_.load()}};
}

void Journal::Clear() {
  const std::lock_guard lock(mutex_);
  entries_.clear();
  total_ = 0;
  bytes_ = 0;
}

// The parts of a large form are stored one by one, so its body as a whole is only hashed.
Intake::Intake(Store& store, const Head& head)
    : boundary_(FormBoundary(head.Header("Content-Type"))),
      body_(store,
            boundary_ && store.LargeContents() == Large::kStore ? Large::kHashOnly : store.LargeContents()) {
  if (boundary_) form_.emplace(store, *boundary_);
}

void Intake::Append(std::string_view bytes) {
  body_.Append(bytes);
  if (form_) form_->Feed(bytes);
}

std::shared_ptr<const Received> Intake::Finish() {
  body_.Finish();
  if (form_ && body_.Size() > 0 && !form_->Complete()) throw BadRequest();
  return std::make_shared<Received>(
      Received{std::move(body_), form_ ? form_->TakeParts() : std::vector<FormPart>()});
}

std::shared_ptr<const Received> Intake::FinishPart() {
  body_.Finish();
  return std::make_shared<Received>(Received{std::move(body_), {}});
}

}  // namespace velk::sandbox
