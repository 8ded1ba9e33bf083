// The pages that the user manages. One request fetches the reply, one pass counts the pages and a second pass
// fills them in.
#include <memory>
#include <new>
#include <utility>

#include "facebook/facebook.h"
#include "json/json.h"

namespace velk::facebook {
namespace {

using namespace std::chrono_literals;

constexpr size_t kLongestPagesReply = 10240;

int32_t FetchPages(Transfer& fetch, std::string_view accessToken) {
  if (accessToken.empty()) return VELK_MISSING_ARGUMENT;
  if (!fetch) return VELK_NO_HANDLE;
  fetch.Url(Concat({kGraphApi, "me/accounts?access_token=", accessToken, "&limit=5000&offset=0"}))
      .Timeout(10s);
  if (fetch.Perform() != CURLE_OK || fetch.Status() != 200) return VELK_TRANSFER_FAILED;
  return fetch.Reply().size > kLongestPagesReply ? VELK_BUFFER_TOO_SMALL : VELK_OK;
}

// Feeds the reply until it ends, a byte is malformed or the rule returns false. The rule runs after each
// byte. Returns false if the walker has no memory.
template <typename Rule>
bool Walk(std::string_view reply, Rule goesOn) {
  JsonWalker walker;
  if (!walker.Ok()) return false;
  for (const char byte : reply)
    if (walker.Feed(byte) != 0 || !goesOn(walker)) break;
  return true;
}

// Counts the strings that follow an "id", at any nesting level and in any kind of object. An "id" with
// another type of value ends the count if a further member follows it.
bool CountPages(std::string_view reply, int32_t& count) {
  bool pending = false;
  return Walk(reply, [&](JsonWalker& walker) {
    if (walker.StringEvent()) {
      if (pending) ++count;
      pending = !pending && walker.TokenText() == "id";
      walker.ClearToken();
    }
    return !pending || walker.State() != JsonParserState::kNextKey;
  });
}

// Gives the n-th page the n-th identifier and the n-th name in the reply, regardless of their positions.
bool PairPages(std::string_view reply, std::span<FacebookPage> pages) {
  enum class Pending { kNothing, kId, kName } pending = Pending::kNothing;
  size_t ids = 0;
  size_t names = 0;
  return Walk(reply, [&](JsonWalker& walker) {
    if (!walker.StringEvent()) return true;
    const std::string_view text = walker.TokenText();
    switch (pending) {
      case Pending::kId:
        if (ids < pages.size()) CopyText(text, pages[ids].id);
        ++ids;
        pending = Pending::kNothing;
        break;
      case Pending::kName:
        if (names < pages.size()) CopyText(text, pages[names].name);
        ++names;
        pending = Pending::kNothing;
        break;
      case Pending::kNothing:
        pending = text == "id" ? Pending::kId : text == "name" ? Pending::kName : Pending::kNothing;
    }
    walker.ClearToken();
    return ids < pages.size() || names < pages.size();
  });
}

}  // namespace

int32_t ListPages(std::string_view reply, FacebookPage** outPages, int32_t& count) {
  count = 0;
  if (!CountPages(reply, count)) return VELK_UNEXPECTED_REPLY;
  if (count < 1) return VELK_NO_PAGES;
  if (!outPages) return VELK_OK;
  const auto size = static_cast<size_t>(count);
  std::unique_ptr<FacebookPage[]> pages(new (std::nothrow) FacebookPage[size]());
  if (!pages || !PairPages(reply, {pages.get(), size})) return VELK_UNEXPECTED_REPLY;
  *outPages = pages.release();
  return VELK_OK;
}
}  // namespace velk::facebook

using namespace velk;
using namespace velk::facebook;

int32_t GetFacebookUserPagesList(const char* accessToken, FacebookPage** outPages,
                                 int32_t* outCount) noexcept {
  if (!accessToken || !outCount) return VELK_MISSING_ARGUMENT;
  const int32_t result = Guarded([&]() -> int32_t {
    Transfer fetch;
    const int32_t fetched = FetchPages(fetch, accessToken);
    return fetched == VELK_OK ? ListPages(fetch.Reply().Text(), outPages, *outCount) : fetched;
  });
  // The host gets the results that concern the reply. All other failures get the same code.
  const bool reported = result >= 0 || result == VELK_BUFFER_TOO_SMALL || result == VELK_TRANSFER_FAILED;
  return reported ? result : VELK_UNEXPECTED_REPLY;
}

int32_t FreeFacebookUserPagesList(FacebookPage** pages) noexcept {
  if (pages) delete[] std::exchange(*pages, nullptr);
  return VELK_OK;
}
