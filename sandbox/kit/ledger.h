// The records of the services in a file of the store's folder, so that they outlive the process.
//
// Each line of the file is what one request changed: a list of ["kind", "id", {record}] for a new or changed
// record, and of ["kind", "id"] for a removed one. It is written before the reply is sent. When the process
// is killed while it writes, the last line is incomplete. It is then ignored, since its request was not
// acknowledged. A start reads the file, and writes it anew without what is out of date.
#pragma once

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace velk::sandbox {

struct LedgerRecord {
  std::string kind, id;
  boost::json::object record;
};

class Ledger {
 public:
  // An empty folder keeps nothing.
  explicit Ledger(const std::filesystem::path& folder);

  bool Keeps() const { return !path_.empty(); }

  // Returns the records of the file, in the order in which they were first written. Throws
  // std::runtime_error, which names the line, when one but the last is damaged.
  std::vector<LedgerRecord> Load() const;
  // Replaces the file. These three throw std::system_error with the path when the file cannot be written.
  void Rewrite(const std::vector<LedgerRecord>& records);
  void Put(std::string_view kind, std::string_view id, const boost::json::object& record);
  void Erase(std::string_view kind, std::string_view id);
  // Writes what was put and erased as one line. After a failure, the next commit includes it.
  void Commit();

 private:
  [[noreturn]] void Fail() const;

  std::filesystem::path path_;
  std::ofstream file_;
  std::uintmax_t size_ = 0;
  boost::json::array pending_;
};

}  // namespace velk::sandbox
