// Changes the text or the privacy of a published object.
#include "facebook/facebook.h"
#include "json/json.h"

namespace velk::facebook {
namespace {

int32_t ChangeObject(const Connections& connections, const char* accessToken, const char* objectId,
                     std::initializer_list<std::string_view> body) noexcept {
  return Guarded([&]() -> int32_t {
    Transfer change({.connections = &connections});
    if (!change) return VELK_NO_HANDLE;
    return PostForm(change, ObjectUrl(objectId, accessToken), Concat(body));
  });
}

int32_t UpdateMessage(const Connections& connections, const char* accessToken, const char* objectId,
                      const FacebookUploadInfo& info) noexcept {
  if (!accessToken || !objectId) return VELK_MISSING_ARGUMENT;
  return ChangeObject(connections, accessToken, objectId, {"message=", Field(info.description)});
}

int32_t UpdateDescription(const Connections& connections, const char* accessToken, const char* objectId,
                          const FacebookUploadInfo& info) noexcept {
  if (!accessToken || !objectId) return VELK_MISSING_ARGUMENT;
  return ChangeObject(connections, accessToken, objectId, {"description=", Field(info.description)});
}

// Sets the privacy of the object that a story is about. Succeeds without a change if the story has no object.
int32_t UpdateObjectPrivacy(const Connections& connections, const char* accessToken, const char* storyId,
                            const FacebookUploadInfo& info) noexcept {
  if (!accessToken || !storyId) return VELK_MISSING_ARGUMENT;
  return Guarded([&]() -> int32_t {
    Transfer lookup({.connections = &connections});
    if (!lookup) return VELK_NO_HANDLE;
    const int32_t result = FetchObject(lookup, storyId, accessToken);
    if (result != VELK_OK) return result;
    char objectId[kValueCapacity] = "";
    if (JsonGetStringValue(lookup.Reply().Bytes(), "object_id", objectId) != 0) return VELK_OK;
    if (UpdatePrivacy(connections, accessToken, info, objectId) == VELK_OK) return VELK_OK;
    // Nothing was changed. Only the lookup's handle and reply stay allocated.
    lookup.Abandon();
    return VELK_PRIVACY_NOT_UPDATED;
  });
}

// The steps of each kind of update in order, with the result reported if the step fails.
struct UpdateStep {
  int32_t (*run)(const Connections& connections, const char* accessToken, const char* objectId,
                 const FacebookUploadInfo& info) noexcept;
  uint32_t updateKind;
  int32_t failure;
};

constexpr UpdateStep kUpdateSteps[] = {
    {&UpdateMessage, 0, VELK_MESSAGE_NOT_UPDATED},
    {&UpdateObjectPrivacy, 1, VELK_PRIVACY_NOT_UPDATED},
    {&UpdateMessage, 1, VELK_TEXT_NOT_UPDATED},
    {&UpdateDescription, 2, VELK_TEXT_NOT_UPDATED},
};

}  // namespace

int32_t UpdatePrivacy(const Connections& connections, const char* accessToken, const FacebookUploadInfo& info,
                      const char* objectId) noexcept {
  if (!objectId || *accessToken == '\0' || *objectId == '\0') return VELK_MISSING_ARGUMENT;
  return ChangeObject(connections, accessToken, objectId, {"privacy={'value':'", Field(info.privacy), "'}"});
}

}  // namespace velk::facebook

using namespace velk;
using namespace velk::facebook;

int32_t SetFacebookUpdateInfo(const char* accessToken, const char* objectId,
                              const FacebookUploadInfo* info) noexcept {
  if (!info) return VELK_MISSING_ARGUMENT;
  const Connections connections;
  int32_t result = VELK_UNEXPECTED_REPLY;
  for (const UpdateStep& step : kUpdateSteps) {
    if (step.updateKind != info->updateKind) continue;
    if (step.run(connections, accessToken, objectId, *info) != VELK_OK) return step.failure;
    result = VELK_OK;
  }
  return result;
}
