#include "kit/clock.h"

#include <chrono>

namespace velk::sandbox {

std::time_t Now() { return std::time(nullptr); }

std::string FormatTime(std::time_t time, const char* pattern) {
  using namespace std::chrono;
  const auto point = floor<seconds>(system_clock::from_time_t(time));
  const auto day = floor<days>(point);
  const year_month_day date(day);
  const hh_mm_ss clock(point - day);
  std::tm fields{};
  fields.tm_year = static_cast<int>(date.year()) - 1900;
  fields.tm_mon = static_cast<int>(static_cast<unsigned>(date.month())) - 1;
  fields.tm_mday = static_cast<int>(static_cast<unsigned>(date.day()));
  fields.tm_wday = static_cast<int>(weekday(day).c_encoding());
  fields.tm_hour = static_cast<int>(clock.hours().count());
  fields.tm_min = static_cast<int>(clock.minutes().count());
  fields.tm_sec = static_cast<int>(clock.seconds().count());
  char text[64];
  return {text, std::strftime(text, sizeof text, pattern, &fields)};
}

}  // namespace velk::sandbox
