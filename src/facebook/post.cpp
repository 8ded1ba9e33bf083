// Posts a message or a link to a feed.
#include "facebook/facebook.h"
#include "json/json.h"

namespace velk::facebook {
namespace {

// Hosts write "NULL" into an unused field.
bool IsSet(std::string_view field) noexcept { return !field.empty() && field != "NULL"; }

// The fields are sent unescaped. The privacy object has a space after its colon. If neither field is used, a
// "NULL" is sent literally.
std::string ComposeBody(const FacebookUploadInfo& info) {
  const std::string_view message = Field(info.description);
  const std::string_view link = Field(info.link);
  const std::string privacy = Concat({"&privacy={'value': '", Field(info.privacy), "'}"});
  if (IsSet(link) && IsSet(message)) return Concat({"message=", message, "&link=", link, privacy});
  if (!IsSet(link) && !message.empty()) return Concat({"message=", message, privacy});
  return Concat({"link=", link, privacy});
}

}  // namespace
}  // namespace velk::facebook

using namespace velk;
using namespace velk::facebook;

int32_t PostFacebookComment(const char* accessToken, const FacebookUploadInfo* info,
                            char* outPostId) noexcept {
  if (!accessToken || !info || !outPostId) return VELK_MISSING_ARGUMENT;
  if (*info->description == '\0' && *info->link == '\0') return VELK_MISSING_ARGUMENT;
  if (*accessToken == '\0') return VELK_MISSING_ARGUMENT;
  return Guarded([&]() -> int32_t {
    Transfer post;
    if (!post) return VELK_NO_HANDLE;
    const std::string url = Concat({kGraphApi, TargetNode(*info), "/feed?access_token=", accessToken});
    const int32_t result = PostForm(post, url, ComposeBody(*info));
    if (result != VELK_OK) return result;
    const bool found = JsonGetStringValue(post.Reply().Bytes(), "id", {outPostId, kValueCapacity}) == 0;
    return found ? VELK_OK : VELK_NO_IDENTIFIER;
  });
}
