#include "facebook/facebook.h"

namespace velk::facebook {
namespace {

using namespace std::chrono_literals;

// Whether atoi would return a number other than 0. Works for any length, since identifiers exceed its range.
bool BeginsWithNonZeroNumber(std::string_view text) noexcept {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
  if (text.starts_with('+') || text.starts_with('-')) text.remove_prefix(1);
  text.remove_prefix(std::min(text.find_first_not_of('0'), text.size()));
  return !text.empty() && text.front() >= '1' && text.front() <= '9';
}

}  // namespace

std::string_view TargetNode(const FacebookUploadInfo& info) noexcept {
  const std::string_view target = Field(info.targetId);
  return BeginsWithNonZeroNumber(target) ? target : "me";
}

std::string ObjectUrl(std::string_view objectId, std::string_view accessToken) {
  return Concat({kGraphApi, objectId, "?access_token=", accessToken});
}

int32_t GraphResult(const Transfer& request, CURLcode failure) noexcept {
  if (failure != CURLE_OK) return FromTransfer(failure);
  const long status = request.Status();
  if (status == 200) return VELK_OK;
  const bool rejected = status == 400 && request.ReplyContains("Error validating access token");
  return rejected ? VELK_TOKEN_REJECTED : VELK_UNEXPECTED_REPLY;
}

int32_t FetchObject(Transfer& request, std::string_view objectId, std::string_view accessToken) {
  request.Url(ObjectUrl(objectId, accessToken)).ConnectTimeout(5s);
  return GraphResult(request, request.Perform());
}

int32_t PostForm(Transfer& request, const std::string& url, std::string body) {
  request.Url(url).ConnectTimeout(10s).Timeout(30s).Body(std::move(body)).Post();
  return GraphResult(request, request.Perform());
}

bool FitsHostBuffer(size_t length, const int32_t* size) noexcept {
  return !size || static_cast<uint64_t>(int64_t{*size}) >= uint64_t{length} + 1;
}

void ReportSize(size_t length, int32_t* size) noexcept {
  if (size) *size = static_cast<int32_t>(length + 1);
}

}  // namespace velk::facebook
