// The control API as an OpenAPI document, made from the tables of commands and of the members of a script.
#pragma once

#include <boost/json/object.hpp>

namespace velk::sandbox {

boost::json::object OpenApiDocument();

}  // namespace velk::sandbox
