#include "kit/entry.h"

#include <boost/json/array.hpp>

namespace velk::sandbox {
namespace {

namespace json = boost::json;

json::array ToArray(const std::vector<std::string>& lines) { return json::array(lines.begin(), lines.end()); }

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

// The content in the members PREFIX, PREFIXSize, PREFIXSha256 and PREFIXFile.
void AddContent(json::object& entry, const std::string& prefix, const Content& content) {
  entry[prefix + "Size"] = content.Size();
  entry[prefix + "Sha256"] = content.Sha256();
  if (content.InMemory()) entry[prefix] = content.Bytes();
  if (!content.File().empty()) entry[prefix + "File"] = content.File();
}

void AddReceived(json::object& entry, const Received& received) {
  AddContent(entry, "body", received.body);
  json::array fields;
  for (const FormPart& part : received.fields) fields.push_back(ToJson(part));
  entry["fields"] = std::move(fields);
}

void AddOutcome(json::object& entry, const Progress& progress) {
  entry["began"] = progress.timing.Began();
  entry["duration"] = progress.timing.Total();
  entry["script"] = progress.script;
  entry["faults"] = ToArray(progress.faults);
  entry["reason"] = progress.why.text;
}

}  // namespace

void Entry::Update(const std::function<void(Progress&)>& change) {
  const std::lock_guard lock(mutex_);
  change(progress_);
}

Progress Entry::Snapshot() const {
  const std::lock_guard lock(mutex_);
  return progress_;
}

std::string Entry::Url() const {
  return head.method == "CONNECT" ? head.target : scheme + "://" + head.host + head.target;
}

json::object Entry::ToJson(std::uint64_t id) const {
  const Progress progress = Snapshot();
  json::object entry{{"id", id},
                     {"scheme", scheme},
                     {"host", head.host},
                     {"method", head.method},
                     {"target", head.target},
                     {"rawHead", head.raw},
                     {"headers", ToArray(head.lines)},
                     {"connectHead", connectHead},
                     {"connection", connection->id},
                     {"connectionOpen", connection->open.load()},
                     {"scripted", progress.script != 0},
                     {"status", status.load()},
                     {"ended", ended.load()},
                     {"bodyComplete", progress.received != nullptr},
                     {"bodyReceived", bodyReceived.load()}};
  if (progress.received) AddReceived(entry, *progress.received);
  AddOutcome(entry, progress);
  entry["details"] = progress.why.details;
  entry["times"] = progress.timing.ToJson();
  entry["replyHead"] = progress.reply.head;
  if (progress.reply.body) AddContent(entry, "replyBody", *progress.reply.body);
  return entry;
}

json::object Entry::Summary(std::uint64_t id) const {
  const Progress progress = Snapshot();
  json::object entry{{"id", id},
                     {"scheme", scheme},
                     {"host", head.host},
                     {"method", head.method},
                     {"target", head.target},
                     {"connection", connection->id},
                     {"status", status.load()},
                     {"ended", ended.load()},
                     {"bodyLength", head.length ? json::value(*head.length) : json::value(nullptr)},
                     {"bodyComplete", progress.received != nullptr},
                     {"bodyReceived", bodyReceived.load()},
                     {"replyBodySize", progress.reply.body ? progress.reply.body->Size() : 0}};
  AddOutcome(entry, progress);
  return entry;
}

}  // namespace velk::sandbox
