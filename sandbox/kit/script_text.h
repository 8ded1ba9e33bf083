// Reads and writes scripts as JSON.
#pragma once

#include <boost/json/object.hpp>

#include "kit/script_members.h"

namespace velk::sandbox {

// Both throw std::invalid_argument, which names the member and states what is wrong with it.
ScriptText ReadScript(const boost::json::object& posted);
ScriptText ReadMatch(const boost::json::object& posted);  // of the members that name requests alone

boost::json::object WriteScript(const ScriptText& script);  // without the members that have their default

}  // namespace velk::sandbox
