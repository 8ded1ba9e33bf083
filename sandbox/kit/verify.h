// States whether a request of a given description arrived.
#pragma once

#include <boost/json/object.hpp>

#include "kit/journal.h"
#include "kit/script_members.h"

namespace velk::sandbox {

// {"arrived", "count", "ids"} and, when none arrived, the nearest one: {"id", "differs": [{"member",
// "expected", "received"}]}, or null without any request. The nearest has the fewest differences, and then
// the smallest.
boost::json::object Verify(const Journal& journal, const ScriptText& wanted);

}  // namespace velk::sandbox
