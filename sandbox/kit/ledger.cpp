#include "kit/ledger.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <cerrno>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <unordered_map>

#include "net/files.h"
#include "net/private_file.h"

namespace velk::sandbox {
namespace {

namespace fs = std::filesystem;
namespace json = boost::json;

constexpr char kFile[] = "state.jsonl";
constexpr char kNewFile[] = "state.new";
constexpr std::size_t kPiece = 1024 * 1024;

json::array Change(std::string_view kind, std::string_view id, const json::object* record) {
  json::array change{kind, id};
  if (record) change.push_back(*record);
  return change;
}

// None if the line is not one of the ledger's. Clients can send any bytes, so strings need not be UTF-8.
std::optional<json::array> ParseLine(const std::string& line) {
  boost::system::error_code error;
  const json::value value = json::parse(line, error, {}, {.allow_invalid_utf8 = true});
  if (error || !value.is_array()) return std::nullopt;
  for (const json::value& change : value.get_array()) {
    const json::array* const parts = change.if_array();
    const bool fits = parts && (parts->size() == 2 || (parts->size() == 3 && (*parts)[2].is_object())) &&
                      (*parts)[0].is_string() && (*parts)[1].is_string();
    if (!fits) return std::nullopt;
  }
  return value.get_array();
}

// The records that the lines result in.
class Fold {
 public:
  void Apply(const json::array& changes) {
    for (const json::value& change : changes) {
      const json::array& parts = change.get_array();
      const std::string kind(parts[0].get_string()), id(parts[1].get_string());
      const std::string key = kind + '\n' + id;
      const auto place = places_.find(key);
      if (parts.size() == 2) {
        if (place == places_.end()) continue;
        records_[place->second].reset();
        places_.erase(place);
      } else if (place != places_.end()) {
        records_[place->second]->record = parts[2].get_object();
      } else {
        places_.emplace(key, records_.size());
        records_.push_back(LedgerRecord{kind, id, parts[2].get_object()});
      }
    }
  }

  std::vector<LedgerRecord> Take() {
    std::vector<LedgerRecord> left;
    for (auto& record : records_) {
      if (record) left.push_back(std::move(*record));
    }
    return left;
  }

 private:
  std::vector<std::optional<LedgerRecord>> records_;
  std::unordered_map<std::string, std::size_t> places_;
};

}  // namespace

Ledger::Ledger(const fs::path& folder) : path_(folder.empty() ? folder : folder / kFile) {}

void Ledger::Fail() const {
  throw std::system_error(errno == 0 ? EIO : errno, std::generic_category(), "cannot write " + ToUtf8(path_));
}

std::vector<LedgerRecord> Ledger::Load() const {
  Fold fold;
  if (!fs::exists(path_)) return {};
  std::ifstream file(path_, std::ios::binary);
  std::string line;
  for (std::size_t number = 1; std::getline(file, line) && !file.eof(); ++number) {
    const auto changes = ParseLine(line);
    if (!changes) {
      throw std::runtime_error(ToUtf8(path_) + ": line " + std::to_string(number) +
                               " is damaged; remove the file to start without what it keeps");
    }
    fold.Apply(*changes);
  }
  // A file that cannot be read must not count as an empty one: the start then writes it anew.
  if (!file.is_open() || file.bad()) throw std::runtime_error("cannot read " + ToUtf8(path_));
  return fold.Take();
}

void Ledger::Rewrite(const std::vector<LedgerRecord>& records) {
  if (!Keeps()) return;
  const fs::path fresh = path_.parent_path() / kNewFile;
  {
    PrivateFile file(fresh);
    std::string text;
    for (const auto& [kind, id, record] : records) {
      text += json::serialize(json::array{Change(kind, id, &record)}) + '\n';
      if (text.size() >= kPiece) file.Write(std::exchange(text, {}));
    }
    file.Write(text);
  }
  file_.close();
  fs::rename(fresh, path_);
  file_.clear();
  file_.open(path_, std::ios::binary | std::ios::app);
  size_ = fs::file_size(path_);
  pending_.clear();
  if (!file_) Fail();
}

void Ledger::Put(std::string_view kind, std::string_view id, const json::object& record) {
  if (Keeps()) pending_.push_back(Change(kind, id, &record));
}

void Ledger::Erase(std::string_view kind, std::string_view id) {
  if (Keeps()) pending_.push_back(Change(kind, id, nullptr));
}

// A part of a line that could be written would spoil the next line.
void Ledger::Commit() {
  if (pending_.empty()) return;
  const std::string line = json::serialize(pending_) + '\n';
  errno = 0;
  if (!file_.write(line.data(), static_cast<std::streamsize>(line.size())).flush()) {
    const int error = errno;
    file_.close();
    fs::resize_file(path_, size_);
    file_.clear();
    file_.open(path_, std::ios::binary | std::ios::app);
    errno = error;
    Fail();
  }
  size_ += line.size();
  pending_.clear();
}

}  // namespace velk::sandbox
