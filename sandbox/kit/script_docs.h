// Describes the members of a script, for people and for programs.
#pragma once

#include <boost/json/object.hpp>
#include <string>

namespace velk::sandbox {

std::string ScriptTable();           // in Markdown, as docs/sandbox.md has it
boost::json::object ScriptSchema();  // in JSON Schema, as OpenAPI 3.0 has it
boost::json::object MatchSchema();   // of the members that name requests alone

}  // namespace velk::sandbox
