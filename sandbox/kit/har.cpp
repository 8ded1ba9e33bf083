#include "kit/har.h"

#include <boost/json/array.hpp>
#include <boost/json/serialize.hpp>

#include "kit/byte_strings.h"
#include "kit/version.h"
#include "net/text.h"

namespace velk::sandbox {
namespace {

namespace json = boost::json;

json::object NameAndValue(std::string_view name, std::string_view value) {
  return {{"name", name}, {"value", value}};
}

json::array HeaderList(const std::vector<std::string>& lines) {
  json::array list;
  for (const std::string_view line : lines) {
    const std::size_t colon = line.find(':');
    list.push_back(NameAndValue(line.substr(0, colon), Trim(line.substr(std::min(line.size(), colon + 1)))));
  }
  return list;
}

json::array PairList(const Pairs& pairs) {
  json::array list;
  for (const auto& [name, value] : pairs) list.push_back(NameAndValue(name, value));
  return list;
}

std::vector<std::string> LinesOf(std::string_view head) {
  std::vector<std::string> lines;
  while (!head.empty()) {
    const std::size_t end = std::min(head.find("\r\n"), head.size());
    lines.emplace_back(head.substr(0, end));
    head.remove_prefix(std::min(head.size(), end + 2));
  }
  std::erase(lines, "");
  return lines;
}

// The value of a header. Empty if it is absent.
std::string ValueOf(const std::vector<std::string>& lines, std::string_view name) {
  for (const std::string_view line : lines) {
    const std::size_t colon = std::min(line.find(':'), line.size());
    if (SameName(line.substr(0, colon), name))
      return std::string(Trim(line.substr(std::min(line.size(), colon + 1))));
  }
  return {};
}

// The media in a form are named, but not part of the file.
json::array FormList(const std::vector<FormPart>& fields) {
  json::array list;
  for (const FormPart& part : fields) {
    json::object field{{"name", part.name}};
    if (part.fileName.empty() && part.content.InMemory()) field["value"] = part.content.Bytes();
    if (!part.fileName.empty()) field["fileName"] = part.fileName;
    if (!part.contentType.empty()) field["contentType"] = part.contentType;
    list.push_back(std::move(field));
  }
  return list;
}

json::object PostData(const Head& head, const Received& received) {
  json::object data{{"mimeType", head.Header("Content-Type")}};
  if (!received.fields.empty()) {
    data["params"] = FormList(received.fields);
    data["text"] = "";
  } else if (head.MediaType() == "application/x-www-form-urlencoded" && received.body.InMemory()) {
    data["params"] = PairList(ParsePairs(received.body.Bytes()));
    data["text"] = received.body.Bytes();
  } else {
    data["params"] = json::array();
    data["text"] = received.body.Bytes();
  }
  return data;
}

json::object RequestOf(const Entry& entry, const Progress& progress) {
  const Head& head = entry.head;
  const std::string_view line = std::string_view(head.raw).substr(0, head.raw.find("\r\n"));
  json::object request{{"method", head.method},
                       {"url", entry.Url()},
                       {"httpVersion", line.substr(line.rfind(' ') + 1)},
                       {"cookies", json::array()},
                       {"headers", HeaderList(head.lines)},
                       {"queryString", PairList(ParsePairs(head.Query()))},
                       {"headersSize", head.raw.size()},
                       {"bodySize", entry.bodyReceived.load()}};
  if (progress.received && progress.received->body.Size() > 0)
    request["postData"] = PostData(head, *progress.received);
  return request;
}

json::object ContentOf(const Progress& progress, const std::string& type) {
  json::object content{{"size", progress.reply.body ? progress.reply.body->Size() : 0}, {"mimeType", type}};
  if (!progress.reply.body || !progress.reply.body->InMemory()) return content;
  const std::string& bytes = progress.reply.body->Bytes();
  const bool isText = IsUtf8(bytes);
  content["text"] = isText ? bytes : Base64(bytes);
  if (!isText) content["encoding"] = "base64";
  return content;
}

json::object ResponseOf(const Entry& entry, const Progress& progress) {
  std::vector<std::string> lines = LinesOf(progress.reply.head);
  const std::string first = lines.empty() ? "" : lines.front();
  if (!lines.empty()) lines.erase(lines.begin());
  const std::size_t phrase = first.find(' ', std::min(first.size(), first.find(' ') + 1));
  return {{"status", entry.status.load()},
          {"statusText", phrase == std::string::npos ? "" : first.substr(phrase + 1)},
          {"httpVersion", "HTTP/1.1"},
          {"cookies", json::array()},
          {"headers", HeaderList(lines)},
          {"content", ContentOf(progress, ValueOf(lines, "Content-Type"))},
          {"redirectURL", ValueOf(lines, "Location")},
          {"headersSize", progress.reply.head.size()},
          {"bodySize", progress.reply.body ? progress.reply.body->Size() : 0}};
}

// -1 is a phase that did not apply. The format counts TLS as a part of the connection.
json::object TimingsOf(const Timing& timing) {
  const auto time = [&](Phase phase) { return timing.Milliseconds(phase).value_or(0); };
  const bool connects = timing.Milliseconds(Phase::kConnect).has_value();
  return {{"blocked", -1},
          {"dns", -1},
          {"connect", connects ? time(Phase::kConnect) + time(Phase::kTls) : -1},
          {"ssl", connects ? time(Phase::kTls) : -1},
          {"send", time(Phase::kHead) + time(Phase::kBody)},
          {"wait", time(Phase::kUpstreamConnect) + time(Phase::kUpstreamTls) + time(Phase::kService)},
          {"receive", time(Phase::kReply)}};
}

json::object HarEntry(const NumberedEntry& numbered) {
  const Entry& entry = *numbered.entry;
  const Progress progress = entry.Snapshot();
  json::object object{{"startedDateTime", progress.timing.Began()},
                      {"time", progress.timing.Total()},
                      {"request", RequestOf(entry, progress)},
                      {"response", ResponseOf(entry, progress)},
                      {"cache", json::object()},
                      {"timings", TimingsOf(progress.timing)},
                      {"connection", std::to_string(entry.connection->id)},
                      {"_id", numbered.id}};
  if (!progress.why.text.empty()) object["_reason"] = progress.why.text;
  if (progress.script != 0) object["_script"] = progress.script;
  return object;
}

// What the format does not define has a name that starts with an underscore.
json::value WithMarkedNames(json::value value) {
  if (value.is_array()) {
    for (json::value& element : value.get_array()) element = WithMarkedNames(std::move(element));
  }
  if (!value.is_object()) return value;
  json::object marked;
  for (auto& [key, member] : value.get_object()) {
    const std::string name(key);
    marked[name.ends_with("Base64") ? '_' + name : name] = WithMarkedNames(std::move(member));
  }
  return marked;
}

}  // namespace

// One by one, as Journal::ToJson does.
std::string ToHar(const Journal& journal) {
  std::string text = R"({"log":{"version":"1.2","creator":{"name":"velk-sandbox","version":")" +
                     std::string(kVersion) + R"("},"entries":[)";
  bool isFirst = true;
  for (const NumberedEntry& numbered : journal.Entries()) {
    if (!isFirst) text += ',';
    isFirst = false;
    text += json::serialize(WithMarkedNames(ToText(HarEntry(numbered))));
  }
  return text += "]}}";
}

}  // namespace velk::sandbox
