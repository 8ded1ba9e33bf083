// Publishes a photo: a chunked upload (INIT, one APPEND per segment, FINALIZE), then a tweet that shows it.
#include <algorithm>
#include <cstdio>
#include <memory>

#include "json/json.h"
#include "twitter/twitter.h"

namespace velk::twitter {
namespace {

using namespace std::chrono_literals;

constexpr const char* kUploadUrl = "https://upload.twitter.com/1.1/media/upload.json";
constexpr const char* kUploadHostHeader = "Host: upload.twitter.com";
constexpr const char* kFormHeader = "Content-Type: multipart/form-data";

constexpr int64_t kLargestPhoto = 5'242'880;
constexpr int64_t kSegmentLength = 1'048'576;
constexpr size_t kExtensionLength = 3;
constexpr auto kConnectLimit = 5s;

// A timeout of a media request has its own result code.
int32_t FromMediaTransfer(CURLcode failure) noexcept {
  return failure == CURLE_OPERATION_TIMEDOUT ? VELK_TOO_LARGE : FromTransfer(failure);
}

bool Succeeded(const Transfer& transfer, std::initializer_list<long> statuses) noexcept {
  return std::ranges::find(statuses, transfer.Status()) != statuses.end();
}

// Reads a string from the reply without truncation. Returns false if the reply has none.
bool ReadString(const Transfer& transfer, const char* key, std::string& value) {
  const std::string_view reply = transfer.Reply().Bytes();
  value.resize(reply.size() + 1);  // a value is never longer than its reply
  const bool found = JsonGetEscapedStringValue(reply, key, value) == 0;
  value.resize(found ? value.find('\0') : 0);
  return found;
}

// Copies an identifier, which is never truncated. If it does not fit, only writes the required size to
// `size`.
bool CopyWhole(const std::string& identifier, char* out, int32_t* size) noexcept {
  const size_t needed = identifier.size() + 1;
  if (*size < static_cast<int32_t>(needed)) {
    *size = static_cast<int32_t>(needed);
    return false;
  }
  CopyText(identifier, {out, needed});
  return true;
}

}  // namespace

std::string MediaExtension(std::string_view fileName) {
  const size_t end = fileName.find_last_not_of('.') + 1;  // 0 if the name has only dots
  const std::string_view pieces = fileName.substr(0, end);
  return std::string(pieces.substr(pieces.rfind('.') + 1, kExtensionLength));
}

int32_t TwitterMediaInit(const Connections& connections, char* mediaId, int32_t* mediaIdSize,
                         const char* authParams, const NativePath& path, const char* extension) {
  if (!mediaId || path.empty()) return VELK_MISSING_ARGUMENT;
  UploadFile file(path);
  if (!file) return VELK_FILE_NOT_OPENED;
  file.Close();

  Transfer init({.connections = &connections});
  if (!init) return VELK_NO_HANDLE;
  init.Url(kUploadUrl)
      .ConnectTimeout(kConnectLimit)
      .Post()
      .Header(kFormHeader)
      .Header(OauthHeader(authParams))
      .FormField("command", "INIT")
      .FormField("media_type", Concat({"image/", extension ? extension : "png"}))
      .FormField("total_bytes", std::to_string(static_cast<int32_t>(file.Size())))
      .FormField("media_category", "tweet_image");
  // Only the status matters. A transfer that failed before it has status 0, which is an unexpected reply.
  static_cast<void>(init.Perform());
  if (!Succeeded(init, {200, 202})) return TwitterFailure(init);

  std::string id;
  if (!ReadString(init, "media_id_string", id)) return VELK_OK;
  return CopyWhole(id, mediaId, mediaIdSize) ? VELK_OK : VELK_BUFFER_TOO_SMALL;
}

int32_t TwitterMediaAppendFile(const Connections& connections, const char* mediaId, FileUploader* uploader,
                               const char* authParams, const NativePath& path) {
  if (!mediaId || !uploader || !authParams || path.empty()) return VELK_MISSING_ARGUMENT;
  const UploadFile file(path);
  if (!file) return VELK_FILE_NOT_OPENED;
  if (file.Size() > kLargestPhoto) return VELK_TOO_LARGE;
  int32_t index = 0;
  for (int64_t offset = 0; offset < file.Size(); offset += kSegmentLength, ++index) {
    const auto length = static_cast<size_t>(std::min(file.Size() - offset, kSegmentLength));
    const auto segment = std::make_unique_for_overwrite<char[]>(length);
    // The file has become shorter since it was measured.
    if (std::fread(segment.get(), 1, length, file.Stream()) != length) return VELK_MISSING_ARGUMENT;
    const int32_t result = TwitterMediaAppend(connections, mediaId, uploader, authParams, segment.get(),
                                              static_cast<int32_t>(length), std::to_string(index).c_str());
    if (result != VELK_OK) return result;
  }
  return VELK_OK;
}

int32_t TwitterMediaAppend(const Connections& connections, const char* mediaId, FileUploader* uploader,
                           const char* authParams, const char* bytes, int32_t count,
                           const char* segmentIndex) {
  if (!uploader || !authParams || !bytes || !segmentIndex) return VELK_MISSING_ARGUMENT;
  Transfer append({.connections = &connections});
  if (!append) return VELK_NO_HANDLE;
  append.Url(kUploadUrl)
      .ConnectTimeout(kConnectLimit)
      .Post()
      .Progress(&UploadProgressCallback, uploader)
      .Header(kFormHeader)
      .Header(kUploadHostHeader)
      .Header(OauthHeader(authParams))
      // The service has already accepted the upload. Waiting for "100 Continue" would cost each segment a
      // round trip, or a second if the service does not send it.
      .Header("Expect:")
      .FormField("command", "APPEND")
      .FormField("media_id", mediaId)
      .FormField("segment_index", segmentIndex)
      .FormBlock("media", {bytes, static_cast<size_t>(count)});
  if (const CURLcode failure = append.Perform(); failure != CURLE_OK) return FromMediaTransfer(failure);
  return Succeeded(append, {200, 204}) ? VELK_OK : TwitterFailure(append);
}

int32_t TwitterMediaFinalize(const Connections& connections, char* mediaId, int32_t* mediaIdSize,
                             const char* authParams, int32_t* processing) {
  if (!mediaId || !authParams) return VELK_MISSING_ARGUMENT;
  Transfer finalize({.connections = &connections});
  if (!finalize) return VELK_NO_HANDLE;
  finalize.Url(kUploadUrl)
      .ConnectTimeout(kConnectLimit)
      .Post()
      .Header(kFormHeader)
      .Header(kUploadHostHeader)
      .Header(OauthHeader(authParams))
      .FormField("command", "FINALIZE")
      .FormField("media_id", mediaId);
  if (const CURLcode failure = finalize.Perform(); failure != CURLE_OK) return FromMediaTransfer(failure);
  if (!Succeeded(finalize, {200, 201})) return TwitterFailure(finalize);

  std::string state;
  if (!ReadString(finalize, "state", state)) return VELK_OK;
  // From here on the state replaces the media id, in the status query and in the tweet.
  if (!CopyWhole(state, mediaId, mediaIdSize)) return VELK_BUFFER_TOO_SMALL;
  if (!state.empty() && state != "success") *processing = 1;
  return VELK_OK;
}

int32_t TwitterMediaStatus(const Connections& connections, const TwitterConsumer* consumer,
                           const TwitterAccessToken* token, const char* mediaId) {
  if (!mediaId || !consumer || !token) return VELK_MISSING_ARGUMENT;
  const std::string url = Concat({kUploadUrl, "?command=STATUS&media_id=", mediaId});
  const std::string authParams =
      SignRequest(url, {}, nullptr, UserKeys(*consumer, *token), OauthForm::kBareHeader);
  Transfer status({.setHostVerification = false, .connections = &connections});
  if (!status) return VELK_NO_HANDLE;
  status.Url(url).Get().Header(OauthHeader(authParams));
  if (const CURLcode failure = status.Perform(); failure != CURLE_OK) return FromMediaTransfer(failure);
  if (!Succeeded(status, {200, 201})) return TwitterFailure(status);

  std::string state;
  const bool tooLong = ReadString(status, "state", state) && state.size() >= size_t{kMediaIdCapacity};
  return tooLong ? VELK_BUFFER_TOO_SMALL : VELK_OK;
}

namespace {

// Uploads the file; `mediaId` receives the identifier for the tweet.
int32_t UploadMedia(FileUploader* uploader, const TwitterConsumer& consumer, const TwitterAccessToken& token,
                    const NativePath& path, const std::string& extension, char (&mediaId)[kMediaIdCapacity]) {
  // INIT, every APPEND and FINALIZE share this header, since multipart forms are not signed.
  const std::string authParams =
      SignRequest(kUploadUrl, {}, "POST", UserKeys(consumer, token), OauthForm::kQuotedHeader);
  const Connections connections;
  int32_t size = kMediaIdCapacity;
  int32_t processing = 0;
  int32_t result = TwitterMediaInit(connections, mediaId, &size, authParams.c_str(), path, extension.c_str());
  if (result == VELK_OK)
    result = TwitterMediaAppendFile(connections, mediaId, uploader, authParams.c_str(), path);
  if (result == VELK_OK)
    result = TwitterMediaFinalize(connections, mediaId, &size, authParams.c_str(), &processing);
  if (result != VELK_OK || processing == 0) return result;

  // The status is queried once, after a second. The tweet is posted whatever the result.
  Wait(1s);
  static_cast<void>(TwitterMediaStatus(connections, &consumer, &token, mediaId));
  return VELK_OK;
}

int32_t PublishPhoto(FileUploader* uploader, const TwitterConsumer& consumer, const TwitterAccessToken& token,
                     const TwitterUploadFile& upload) {
  const std::string_view fileName = Field(upload.fileName);
  const NativePath path = WidenPath(Concat({Field(upload.folderPath), {&kPathSeparator, 1}, fileName}));
  {
    const UploadFile file(path);
    if (!file) return VELK_FILE_NOT_OPENED;
    if (file.Size() > kLargestPhoto) return VELK_TOO_LARGE;
  }
  char mediaId[kMediaIdCapacity] = "";
  const int32_t uploaded = UploadMedia(uploader, consumer, token, path, MediaExtension(fileName), mediaId);
  if (uploaded != VELK_OK) return uploaded;
  return PostStatus(consumer, token, std::string(Field(upload.statusText)), mediaId);
}

}  // namespace
}  // namespace velk::twitter

using namespace velk;
using namespace velk::twitter;

int32_t StartTwitterUploadPhoto(FileUploader* uploader, const TwitterConsumer* consumer,
                                const TwitterAccessToken* token, const TwitterUploadFile* file) noexcept {
  if (!uploader || !consumer || !token || !file) return VELK_MISSING_ARGUMENT;
  for (const char* required : {consumer->consumerKey, consumer->consumerSecret, token->oauthToken,
                               token->oauthTokenSecret, token->userId, token->screenName, file->statusText})
    if (*required == '\0') return VELK_MISSING_ARGUMENT;
  return Guarded([&] { return PublishPhoto(uploader, *consumer, *token, *file); });
}
