#include "outcome.h"

#include <algorithm>
#include <array>
#include <boost/json/array.hpp>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <cstdio>

#include "encoding.h"
#include "result_codes.inc"
#include "velk_upload.h"

namespace velk::publish {
namespace {

namespace json = boost::json;

struct Row {
  std::int32_t result;
  ExitStatus status;
};

// What a result is, unless the kind of call has a row of its own.
constexpr Row kCommonRows[] = {
    {VELK_OK, kDone},
    {VELK_MISSING_ARGUMENT, kUsage},
    {VELK_TRANSFER_FAILED, kNetwork},
    {VELK_CANCELLED, kCancelled},
    {VELK_OUT_OF_MEMORY, kNoMemory},
    {VELK_FILE_NOT_OPENED, kFile},
};

constexpr Row kFacebookRows[] = {
    {VELK_PRIVACY_NOT_UPDATED, kPartlyDone},
    {VELK_NO_PAGES, kDone},
    {VELK_TOKEN_REJECTED, kCredentials},
    {VELK_NO_IDENTIFIER, kPartlyDone},  // it may be published
};

constexpr Row kTwitterRows[] = {
    {VELK_CREDENTIALS_REFUSED, kCredentials},
    {VELK_TOO_LARGE, kNetwork},  // the sizes were checked, so no connection was made in time
};

constexpr Row kYoutubeRows[] = {
    {VELK_MISSING_ARGUMENT, kCredentials},  // status 401: nothing is empty
    {VELK_NO_IDENTIFIER, kPartlyDone},      // the video may exist
};

std::span<const Row> RowsOf(std::string_view service) {
  if (service == "facebook") return kFacebookRows;
  if (service == "twitter") return kTwitterRows;
  return kYoutubeRows;
}

// The later steps of an update say less about the cause than those of a post.
ExitStatus UpdateStatus(std::int32_t result, std::uint32_t updateKind) {
  const bool privacyIsChanged = result == VELK_TEXT_NOT_UPDATED && updateKind == 1;
  return privacyIsChanged ? kPartlyDone : kRefused;
}

json::value OrNull(const std::string& text) { return text.empty() ? json::value() : json::value(text); }

void PrintLine(std::FILE* stream, const std::string& line) { std::fprintf(stream, "%s\n", line.c_str()); }

}  // namespace

std::string_view ServiceName(CallKind kind) {
  if (kind <= CallKind::kFacebookUpdate) return "facebook";
  return kind <= CallKind::kTwitterPhoto ? "twitter" : "youtube";
}

ExitStatus StatusOf(CallKind kind, std::int32_t result, std::uint32_t updateKind) {
  if (kind == CallKind::kFacebookUpdate && result > 0) return UpdateStatus(result, updateKind);
  for (const Row& row : RowsOf(ServiceName(kind)))
    if (row.result == result) return row.status;
  for (const Row& row : kCommonRows)
    if (row.result == result) return row.status;
  return kRefused;
}

ResultText TextOf(std::int32_t result) {
  static const json::value codes = json::parse(kResultCodes);
  for (const json::value& code : codes.as_array())
    if (code.at("code").as_int64() == result)
      return {std::string(code.at("name").as_string()), std::string(code.at("advice").as_string())};
  return {"", "The code is unknown."};
}

std::string ToJson(std::string_view service, const Outcome& outcome) {
  const bool made = outcome.made;
  const ResultText text = TextOf(outcome.result);
  json::object object{
      {"service", service.empty() ? json::value() : json::value(service)},
      {"id", OrNull(outcome.id)},
      {"url", OrNull(outcome.url)},
      {"result", made ? json::value(outcome.result) : json::value()},
      {"name", made ? OrNull(text.name) : json::value()},
      {"advice", outcome.problem.empty() ? json::value(text.advice) : json::value(outcome.problem)},
      {"bytes", outcome.bytes ? json::value(*outcome.bytes) : json::value()}};
  if (!outcome.file.empty()) object["file"] = outcome.file;
  for (const auto& member : outcome.extra) object[member.key()] = member.value();
  std::string line = ValidUtf8(json::serialize(object));
  // The serializer would write 0.03 as 3E-2.
  std::array<char, 40> seconds{"null"};
  if (made) std::snprintf(seconds.data(), seconds.size(), "%.3f", outcome.seconds);
  line.back() = ',';
  return line + "\"seconds\":" + seconds.data() + '}';
}

void Report::Add(const Outcome& outcome) {
  statuses_.push_back(outcome.status);
  if (json_)
    PrintLine(stdout, ToJson(ServiceName(kind_), outcome));
  else if (outcome.status == kDone)
    PrintText(outcome);
  if (outcome.status != kDone) PrintProblem(outcome);
  std::fflush(stdout);
}

void Report::PrintText(const Outcome& outcome) const {
  if (!quiet_ && !outcome.remark.empty()) PrintLine(stderr, outcome.remark);
  std::string line = !outcome.output.empty()                      ? outcome.output
                     : !outcome.url.empty() && outcome.id.empty() ? outcome.url
                                                                  : outcome.id;
  if (count_ > 1) line = (line.empty() ? "-" : line) + '\t' + outcome.file;
  if (!line.empty()) PrintLine(stdout, line);
}

void Report::PrintProblem(const Outcome& outcome) const {
  const ResultText text = TextOf(outcome.result);
  std::string line = outcome.problem;
  if (line.empty()) line = text.name + " (" + std::to_string(outcome.result) + "): " + text.advice;
  const bool named = outcome.file.empty() || line.starts_with(outcome.file);
  PrintLine(stderr, "velk-publish: " + (named ? "" : outcome.file + ": ") + line);
}

int Report::ExitStatusOfAll() const {
  const auto failed = std::ranges::find_if(statuses_, [](ExitStatus status) { return status != kDone; });
  if (failed == statuses_.end()) return kDone;
  if (std::ranges::find(statuses_, kCancelled) != statuses_.end()) return kCancelled;
  const bool some = std::ranges::find(statuses_, kDone) != statuses_.end();
  return some ? kPartlyDone : *failed;
}

}  // namespace velk::publish
