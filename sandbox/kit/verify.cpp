#include "kit/verify.h"

#include <algorithm>
#include <boost/json/array.hpp>
#include <optional>

#include "kit/match.h"

namespace velk::sandbox {
namespace {

namespace json = boost::json;

constexpr std::size_t kCompared = 200;  // bytes of each string, since the distance takes time

// How many bytes to insert, remove or replace to make one string of the other (Levenshtein's distance).
std::size_t Distance(std::string_view a, std::string_view b) {
  a = a.substr(0, kCompared);
  b = b.substr(0, kCompared);
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j < row.size(); ++j) row[j] = j;
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, diagonal + 1, row[j] + 1});
    }
  }
  return row.back();
}

std::size_t Distance(const std::vector<Difference>& differences) {
  std::size_t sum = 0;
  for (const auto& [member, expected, received] : differences) sum += Distance(expected, received);
  return sum;
}

struct Nearest {
  std::uint64_t id;
  std::vector<Difference> differences;
  std::size_t distance;
};

json::object ToJson(const Nearest& nearest) {
  json::array differs;
  for (const auto& [member, expected, received] : nearest.differences)
    differs.push_back({{"member", member}, {"expected", expected}, {"received", received}});
  return {{"id", nearest.id}, {"differs", std::move(differs)}};
}

// Keeps the nearer one; of equal ones, the newer.
void Consider(std::optional<Nearest>& nearest, std::uint64_t id, std::vector<Difference> differences) {
  if (nearest && differences.size() > nearest->differences.size()) return;
  const std::size_t distance = Distance(differences);
  const bool nearer =
      !nearest || differences.size() < nearest->differences.size() || distance <= nearest->distance;
  if (nearer) nearest = Nearest{id, std::move(differences), distance};
}

}  // namespace

json::object Verify(const Journal& journal, const ScriptText& wanted) {
  json::array ids;
  std::optional<Nearest> nearest;
  for (const auto& [id, entry] : journal.Entries()) {
    const auto received = entry->Snapshot().received;
    std::vector<Difference> differences = Differences(wanted, entry->head, received.get());
    if (!received && NeedsBody(wanted)) differences.push_back({"body", "complete", "incomplete"});
    if (differences.empty())
      ids.push_back(id);
    else if (ids.empty())
      Consider(nearest, id, std::move(differences));
  }
  const bool arrived = !ids.empty();
  json::object result{{"arrived", arrived}, {"count", ids.size()}, {"ids", std::move(ids)}};
  if (!arrived) result["nearest"] = nearest ? json::value(ToJson(*nearest)) : json::value(nullptr);
  return result;
}

}  // namespace velk::sandbox
