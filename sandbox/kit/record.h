// Makes a record of the ledger from a struct, and the reverse, by a table of its fields.
#pragma once

#include <boost/json/object.hpp>
#include <boost/json/value_from.hpp>
#include <boost/json/value_to.hpp>
#include <tuple>

namespace velk::sandbox {

template <typename Struct, typename Value>
struct RecordField {
  const char* name;
  Value Struct::*member;
};

template <typename Struct, typename Value>
RecordField(const char*, Value Struct::*) -> RecordField<Struct, Value>;

template <typename Struct, typename... Values>
boost::json::object WriteRecord(const Struct& from,
                                const std::tuple<RecordField<Struct, Values>...>& fields) {
  boost::json::object record;
  std::apply(
      [&](const auto&... field) {
        ((record[field.name] = boost::json::value_from(from.*field.member)), ...);
      },
      fields);
  return record;
}

// A field without a member keeps its value. Throws boost::system::system_error for a wrong type.
template <typename Struct, typename... Values>
void ReadRecord(const boost::json::object& record, const std::tuple<RecordField<Struct, Values>...>& fields,
                Struct& to) {
  const auto read = [&]<typename Value>(const RecordField<Struct, Value>& field) {
    const boost::json::value* const value = record.if_contains(field.name);
    if (value) to.*field.member = boost::json::value_to<Value>(*value);
  };
  std::apply([&](const auto&... field) { (read(field), ...); }, fields);
}

}  // namespace velk::sandbox
