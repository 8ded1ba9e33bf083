#include "progress.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <utility>

#include "system.h"

namespace velk::publish {
namespace {

constexpr double kKibibyte = 1024;
constexpr double kSegment = 1'048'576;
constexpr double kShortestPace = 0.2;  // before that, a rate means little
constexpr double kLongestWait = 99 * 3600;

template <typename... Values>
std::string Format(const char* format, Values... values) {
  std::array<char, 80> text{};
  std::snprintf(text.data(), text.size(), format, values...);
  return text.data();
}

std::string Amount(double bytes) {
  constexpr std::array<const char*, 4> kUnits{"B", "KiB", "MiB", "GiB"};
  std::size_t unit = 0;
  for (; bytes >= 1000 && unit + 1 < kUnits.size(); ++unit) bytes /= kKibibyte;
  return Format(unit == 0 ? "%.0f %s" : "%.1f %s", bytes, kUnits[unit]);
}

std::string TimeLeft(const Progress& progress) {
  const double seconds = (progress.total - progress.done) * progress.seconds / progress.done;
  if (seconds > kLongestWait) return "";
  const int whole = static_cast<int>(std::ceil(seconds));
  if (whole >= 3600) return Format("%d:%02d:%02d left", whole / 3600, whole / 60 % 60, whole % 60);
  return Format("%d:%02d left", whole / 60, whole % 60);
}

std::string Figures(const Progress& progress, double share) {
  std::string line = Format("%3.0f %%  ", std::floor(share * 100));
  line += Amount(progress.done) + " of " + Amount(progress.total);
  if (progress.seconds < kShortestPace || progress.done <= 0) return line;
  line += "  " + Amount(progress.done / progress.seconds) + "/s";
  if (share >= 1) return line;
  const std::string left = TimeLeft(progress);
  return left.empty() ? line : line + "  " + left;
}

// Terminals show some characters above ASCII two columns wide.
std::size_t Columns(std::string_view text) {
  std::size_t columns = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    columns += byte < 0x80 ? 1 : byte >= 0xC0 ? 2 : 0;
  }
  return columns;
}

std::string Bar(double share, std::size_t cells) {
  const auto full = static_cast<std::size_t>(share * static_cast<double>(cells));
  return '[' + std::string(full, '#') + std::string(cells - full, '.') + "] ";
}

}  // namespace

std::string ProgressLine(std::string_view name, const Progress& given, int width) {
  constexpr std::size_t kBarFrame = 3, kShortestBar = 6, kLongestBar = 30;
  Progress progress = given;
  progress.done = std::clamp(progress.done, 0.0, std::max(progress.total, 0.0));
  const double share = progress.total > 0 ? progress.done / progress.total : 1;
  std::string line = Figures(progress, share);
  const auto columns = static_cast<std::size_t>(std::max(width, 1));
  if (line.size() > columns) return line.substr(0, columns);
  std::size_t left = columns - line.size();
  const bool named = Columns(name) + 2 + kBarFrame + kShortestBar <= left;
  if (named) left -= Columns(name) + 2;
  if (left >= kBarFrame + kShortestBar) line = Bar(share, std::min(left - kBarFrame, kLongestBar)) + line;
  return named ? std::string(name) + "  " + line : line;
}

double SegmentSum::Whole(double uploaded, double total) {
  const double lastSegment = std::fmod(fileSize_, kSegment);
  if (uploaded < last_) before_ += kSegment;
  // A form adds some hundred bytes to its segment: so the last one is recognized even when others were
  // missed.
  if (total < kSegment && lastSegment > 0) before_ = fileSize_ - lastSegment;
  last_ = uploaded;
  const double segment = std::min(uploaded, std::min(kSegment, fileSize_ - before_));
  whole_ = std::clamp(before_ + segment, whole_, fileSize_);
  return whole_;
}

ProgressMeter::ProgressMeter(std::string name, std::uint64_t fileSize, bool inSegments, bool enabled)
    : name_(std::move(name)),
      segments_(static_cast<double>(fileSize)),
      inSegments_(inSegments),
      enabled_(enabled && ErrorIsTerminal()),
      fileSize_(static_cast<double>(fileSize)) {}

void ProgressMeter::Update(double uploaded, double total) {
  if (!enabled_ || total <= 0) return;
  const double done = inSegments_ ? segments_.Whole(uploaded, total) : uploaded;
  // The rate of a second attempt is its own.
  if (progress_.total == 0 || done < progress_.done) begin_ = Clock::now();
  progress_ = {done, inSegments_ ? fileSize_ : total,
               std::chrono::duration<double>(Clock::now() - begin_).count()};
  Show();
}

void ProgressMeter::Show() {
  // The last column stays free: some terminals wrap after it.
  std::string line = ProgressLine(name_, progress_, ErrorWidth() - 1);
  const std::size_t bytes = line.size();
  if (bytes < shownBytes_) line.append(shownBytes_ - bytes, ' ');
  line.resize(std::max(bytes, std::min(line.size(), static_cast<std::size_t>(ErrorWidth() - 1))));
  shownBytes_ = bytes;
  std::fprintf(stderr, "\r%s", line.c_str());
  std::fflush(stderr);
}

void ProgressMeter::Finish(bool complete) {
  if (!enabled_ || progress_.total == 0) return;
  if (complete) {
    progress_.done = progress_.total;
    Show();
  }
  std::fputc('\n', stderr);
  progress_ = {};
  shownBytes_ = 0;
}

}  // namespace velk::publish
