// What a call has given, and how it is reported: text or JSON, and the exit status.
#pragma once

#include <boost/json/object.hpp>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velk::publish {

enum ExitStatus : int {
  kDone = 0,
  kNoMemory = 1,
  kUsage = 2,
  kCredentials = 3,
  kNetwork = 4,
  kFile = 5,
  kRefused = 6,
  kPartlyDone = 7,
  kCancelled = 130
};

// What each result code is depends on the kind of call.
enum class CallKind {
  kFacebookRead,
  kFacebookPost,
  kFacebookPhoto,
  kFacebookVideo,
  kFacebookUpdate,
  kTwitterSignIn,
  kTwitterTweet,
  kTwitterPhoto,
  kYoutubeUpload,
  kYoutubeUpdate
};

std::string_view ServiceName(CallKind kind);  // as in JSON: "facebook"

// The exit status for a result of the library. `updateKind` is that of an update on Facebook.
ExitStatus StatusOf(CallKind kind, std::int32_t result, std::uint32_t updateKind = 0);

struct ResultText {
  std::string name;
  std::string advice;
};
ResultText TextOf(std::int32_t result);  // the texts of docs/result_codes.json

struct Outcome {
  bool made = true;  // false when the values were refused before any call
  std::int32_t result = 0;
  std::string file;  // empty for a call without one
  std::string id;    // empty when the library returns none
  std::string url;
  std::optional<std::uint64_t> bytes;
  double seconds = 0;
  ExitStatus status = kDone;
  std::string output;         // the result as text, when it is neither the identifier nor the URL
  std::string remark;         // a sentence for the user
  std::string problem;        // replaces the advice, when the call was not made or more is known
  boost::json::object extra;  // further members of the JSON
};

// Reports outcomes, and derives the exit status of the program from them.
class Report {
 public:
  Report(CallKind kind, bool json, bool quiet, std::size_t count)
      : kind_(kind), json_(json), quiet_(quiet), count_(count) {}
  void Add(const Outcome& outcome);
  int ExitStatusOfAll() const;

 private:
  void PrintText(const Outcome& outcome) const;
  void PrintProblem(const Outcome& outcome) const;

  CallKind kind_;
  bool json_;
  bool quiet_;
  std::size_t count_;  // how many outcomes there may be
  std::vector<ExitStatus> statuses_;
};

// One line of JSON. Without a call there is no result.
std::string ToJson(std::string_view service, const Outcome& outcome);

}  // namespace velk::publish
