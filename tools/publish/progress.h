// The progress of an upload as one line of a terminal.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace velk::publish {

struct Progress {
  double done = 0;     // bytes
  double total = 0;    // bytes
  double seconds = 0;  // since the first byte
};

// Composes a line of at most `width` columns: share, amounts, rate and time left, and as far as they fit a
// bar and the name of the file.
std::string ProgressLine(std::string_view name, const Progress& progress, int width);

// Adds up the segments of one file. A handle reports each segment from its start.
class SegmentSum {
 public:
  explicit SegmentSum(double fileSize) : fileSize_(fileSize) {}
  double Whole(double uploaded, double total);  // returns the bytes of the file so far

 private:
  double fileSize_;
  double before_ = 0;  // what earlier segments have sent
  double last_ = 0;
  double whole_ = 0;
};

// Shows the line on the standard error stream, when that is a terminal and `enabled`.
class ProgressMeter {
 public:
  ProgressMeter(std::string name, std::uint64_t fileSize, bool inSegments, bool enabled);
  void Update(double uploaded, double total);
  void Finish(bool complete);  // ends the line

 private:
  using Clock = std::chrono::steady_clock;
  void Show();

  std::string name_;
  SegmentSum segments_;
  bool inSegments_;
  bool enabled_;
  std::size_t shownBytes_ = 0;
  Progress progress_;
  double fileSize_;
  Clock::time_point begin_;
};

}  // namespace velk::publish
