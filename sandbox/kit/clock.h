// The time of day.
#pragma once

#include <ctime>
#include <string>

namespace velk::sandbox {

std::time_t Now();
std::string FormatTime(std::time_t time,
                       const char* pattern);  // in UTC, in the form that strftime makes of it

}  // namespace velk::sandbox
