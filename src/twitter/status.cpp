// Posts a tweet, and implements what its request shares with the media upload.
#include <array>

#include "twitter/twitter.h"

namespace velk::twitter {
namespace {

using namespace std::chrono_literals;

constexpr size_t kLongestStatus = 420;  // in bytes

}  // namespace

OauthKeys UserKeys(const TwitterConsumer& consumer, const TwitterAccessToken& token) {
  return {std::string(Field(consumer.consumerKey)), std::string(Field(consumer.consumerSecret)),
          std::string(Field(token.oauthToken)), std::string(Field(token.oauthTokenSecret))};
}

std::string OauthHeader(std::string_view authParams) { return Concat({"Authorization: OAuth ", authParams}); }

bool RefusesSignature(const Transfer& transfer, const char* words) noexcept {
  const long status = transfer.Status();
  return (status == 400 || status == 401) && transfer.ReplyContains(words);
}

int32_t TwitterFailure(const Transfer& transfer) noexcept {
  if (RefusesSignature(transfer, "Could not authenticate you")) return VELK_CREDENTIALS_REFUSED;
  const bool duplicate = transfer.Status() == 403 && transfer.ReplyContains("Status is a duplicate.");
  return duplicate ? VELK_DUPLICATE_STATUS : VELK_UNEXPECTED_REPLY;
}

int32_t PostStatus(const TwitterConsumer& consumer, const TwitterAccessToken& token,
                   const std::string& statusText, const std::string& mediaIds) {
  if (statusText.size() > kLongestStatus) return VELK_TOO_LARGE;
  const std::string url = Concat({kTwitterApi, "/1.1/statuses/update.json"});
  const std::array<std::string, 2> parameters{"media_ids=" + mediaIds, "status=" + statusText};
  const std::string authParams =
      SignRequest(url, parameters, "POST", UserKeys(consumer, token), OauthForm::kQuotedHeader);

  Transfer post;
  if (!post) return VELK_NO_HANDLE;
  post.Url(url)
      .ConnectTimeout(5s)
      .Body(Concat({post.Escape("media_ids"), "=", post.Escape(mediaIds), "&", post.Escape("status"), "=",
                    post.Escape(statusText)}))
      .Post()
      .Header(kTwitterApiHostHeader)
      .Header("Content-Type: application/x-www-form-urlencoded")
      .Header(OauthHeader(authParams));
  if (post.Perform() != CURLE_OK) return VELK_TRANSFER_FAILED;
  return post.Status() == 200 ? VELK_OK : TwitterFailure(post);
}

}  // namespace velk::twitter

using namespace velk;
using namespace velk::twitter;

int32_t PostTwitterComment(const TwitterConsumer* consumer, const TwitterAccessToken* token,
                           const char* statusText, const char* mediaIds) noexcept {
  if (!consumer || !token || !statusText || !mediaIds || *consumer->consumerKey == '\0' ||
      *consumer->consumerSecret == '\0')
    return VELK_MISSING_ARGUMENT;
  return Guarded([&] { return PostStatus(*consumer, *token, statusText, mediaIds); });
}
