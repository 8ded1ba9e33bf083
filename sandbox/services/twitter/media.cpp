// Twitter's media: uploads in one request and in segments, their processing, descriptions and subtitles.
#include <algorithm>
#include <boost/json/parse.hpp>
#include <stdexcept>

#include "kit/byte_strings.h"
#include "kit/media_type.h"
#include "services/twitter/twitter.h"

namespace velk::sandbox {

using namespace twitter;

namespace {

namespace json = boost::json;

constexpr std::uint64_t kMaxImageSize = 5'242'880;
constexpr std::uint64_t kMaxGifSize = 15'728'640;
constexpr std::uint64_t kMaxVideoSize = 536'870'912;
constexpr int kMaxSegments = 1000;
constexpr std::size_t kMaxAltText = 1000;
constexpr int kLifetime = 86400;  // in seconds

bool IsVideo(std::string_view type) { return type.starts_with("video/"); }
bool IsImage(std::string_view type) { return type.starts_with("image/"); }
bool IsSubtitle(std::string_view type) { return type.starts_with("text/") || type == "application/x-subrip"; }

// "TweetVideo", "tweet_video" and "TWEET_VIDEO" are the same.
std::string CategoryOf(const ServiceRequest& request) {
  std::string category = Lower(request.Parameter("media_category"));
  std::erase(category, '_');
  return category;
}

ApiError Missing(const std::string& parameter) { return {400, 38, parameter + " parameter is missing."}; }
ApiError Invalid(const std::string& message, const std::string& why = {}) {
  return {400, 324, message, {.text = why}};
}

std::string SizeWhy(std::uint64_t size, std::uint64_t limit) {
  return "total_bytes is " + std::to_string(size) + "; the limit for this type is " + std::to_string(limit);
}

std::uint64_t RequiredNumber(const ServiceRequest& request, const std::string& name) {
  const auto number = ToNumber(request.Parameter(name));
  Require(number.has_value(),
          Because(Missing(name), name + " is " + Quoted(request.Parameter(name)) + " instead of a number"));
  return *number;
}

void CheckSize(const std::string& type, const std::string& category, std::uint64_t size) {
  Require(size > 0, Invalid("total_bytes must be greater than 0."));
  if (IsVideo(type))
    return Require(size <= kMaxVideoSize,
                   Invalid("Video file size must be <= 536870912 bytes", SizeWhy(size, kMaxVideoSize)));
  if (category.ends_with("gif"))
    return Require(size <= kMaxGifSize,
                   Invalid("GIF file size must be <= 15728640 bytes", SizeWhy(size, kMaxGifSize)));
  Require(size <= kMaxImageSize,
          Invalid("Image file size must be <= 5242880 bytes", SizeWhy(size, kMaxImageSize)));
}

std::string Decode(std::string text) {
  std::erase_if(text, [](char c) { return c == '\r' || c == '\n' || c == ' '; });
  try {
    return FromBase64(text);
  } catch (const std::invalid_argument&) {
    throw Invalid("media_data is not valid base64.");
  }
}

json::object ObjectOf(const ServiceRequest& request, std::string_view name) {
  boost::system::error_code error;
  const json::value value = json::parse(request.Parameter(name), error);
  return !error && value.is_object() ? value.get_object() : json::object();
}

// The languages of {"subtitles": [{"language_code": "en", "media_id": "1"}]}.
std::vector<json::object> SubtitlesOf(const ServiceRequest& request) {
  std::vector<json::object> subtitles;
  const json::object info = ObjectOf(request, "subtitle_info");
  const json::value* const list = info.if_contains("subtitles");
  if (!list || !list->is_array()) return subtitles;
  for (const json::value& item : list->get_array()) {
    if (item.is_object()) subtitles.push_back(item.get_object());
  }
  return subtitles;
}

}  // namespace

Reply Twitter::HandleMediaUpload(const ServiceRequest& request) {
  const OauthCheck check = Authenticate(request);
  const Nonce nonce{check.timestamp, check.consumerKey, check.tokenKey, check.nonce};
  const std::string command = request.Parameter("command");
  if (command == "INIT") return InitMedia(request, nonce);
  if (command == "APPEND") return AppendSegment(request);
  if (command == "FINALIZE") return FinalizeMedia(request);
  Require(command.empty() && (request.Field("media") || request.FindParameter("media") ||
                              request.Field("media_data") || request.FindParameter("media_data")),
          Because(Missing("command"), "command is " + Quoted(command) +
                                          "; it can be INIT, APPEND or FINALIZE, or absent beside media"));
  return UploadSimply(request, nonce);
}

// ---- In segments ----

Reply Twitter::InitMedia(const ServiceRequest& request, Nonce nonce) {
  Media media{.nonce = std::move(nonce),
              .type = Lower(request.Parameter("media_type")),
              .category = CategoryOf(request),
              .totalBytes = RequiredNumber(request, "total_bytes")};
  Require(!media.type.empty(), Missing("media_type"));
  Require(IsImage(media.type) || IsVideo(media.type) || IsSubtitle(media.type),
          Invalid("The media type is not supported.",
                  "media_type is " + Quoted(media.type) + ", which is no image, video or subtitle"));
  CheckSize(media.type, media.category, media.totalBytes);
  const std::string id = AddMedia(std::move(media));
  return JsonReply(202,
                   {{"media_id", IdNumber(id)}, {"media_id_string", id}, {"expires_after_secs", kLifetime}});
}

std::string Twitter::AddMedia(Media media) {
  std::string id = std::to_string(++lastId_);
  LimitPending(media_);
  media_.emplace(id, std::move(media));
  Touch("media", id);
  Touch("count");
  return id;
}

Twitter::Media& Twitter::FindMedia(const std::string& id) {
  const auto found = media_.find(id);
  Require(found != media_.end(), Invalid("Invalid mediaId.", "no upload has the media_id " + Quoted(id)));
  return found->second;
}

// The bytes are a file, or base64 text in a field or a parameter. Outside of a multipart form, `media` is
// base64 text, too.
Piece Twitter::PieceOf(const ServiceRequest& request) {
  const FormPart* const file = request.Field("media");
  if (file) return {request.received, &file->content};
  const FormPart* const field = request.Field("media_data");
  if (field)
    return NewPiece(store_, Decode(field->content.Size() <= 2 * kMaxGifSize ? field->content.Load() : ""));
  const auto text = request.FindParameter("media_data");
  return NewPiece(store_, Decode(text ? *text : request.Parameter("media")));
}

Reply Twitter::AppendSegment(const ServiceRequest& request) {
  Media& media = FindMedia(request.Parameter("media_id"));
  const std::uint64_t index = RequiredNumber(request, "segment_index");
  Require(index < kMaxSegments, Invalid("segment_index must be less than 1000."));
  const Piece piece = PieceOf(request);
  Require(piece.content->Size() > 0, Missing("media"));
  Require(!media.complete, Invalid("The media was finalized before."));
  media.segments[static_cast<int>(index)] = piece;
  Touch(kPieceKind, request.Parameter("media_id") + '/' + std::to_string(index));
  return {.status = 204};
}

Reply Twitter::FinalizeMedia(const ServiceRequest& request) {
  const std::string id = request.Parameter("media_id");
  Media& media = FindMedia(id);
  std::vector<Piece> pieces;
  for (const auto& [index, piece] : media.segments) {
    Require(index == static_cast<int>(pieces.size()),
            Invalid("A segment is missing.", "segment " + std::to_string(pieces.size()) + " is missing"));
    pieces.push_back(piece);
  }
  Require(SizeOf(pieces) == media.totalBytes,
          Invalid("Segments do not add up to provided total file size.",
                  "the segments have " + std::to_string(SizeOf(pieces)) +
                      " bytes together, and INIT stated " + std::to_string(media.totalBytes)));
  Complete(id, media, Assemble(store_, pieces));
  return JsonReply(201, MediaReply(id, media));
}

// ---- In one request ----

Reply Twitter::UploadSimply(const ServiceRequest& request, Nonce nonce) {
  const Piece piece = PieceOf(request);
  const std::uint64_t size = piece.content->Size();
  Require(size > 0, Missing("media"));
  Media media{.nonce = std::move(nonce),
              .type = std::string(ImageType(piece.content->Start())),
              .category = CategoryOf(request),
              .totalBytes = size};
  Require(!media.type.empty(),
          Invalid("media type unrecognized.", "the media does not start as JPEG, PNG, GIF or WebP do"));
  CheckSize(media.type, media.category, size);
  const std::string id = AddMedia(std::move(media));
  Complete(id, media_.at(id), *piece.content);
  return JsonReply(200, MediaReply(id, media_.at(id)));
}

// ---- Processing ----

// If the sandbox only counts large contents, the bytes are missing and hash and file remain empty. Videos and
// animated GIFs are processed after the upload.
void Twitter::Complete(const std::string& id, Media& media, const Content& whole) {
  const bool isAnimation = IsVideo(media.type) || media.category.ends_with("gif");
  Require(!IsImage(media.type) || !ImageType(whole.Start()).empty(),
          Invalid("media type unrecognized.", "the media does not start as JPEG, PNG, GIF or WebP do"));
  media.complete = true;
  TouchPieces(id, media.segments.size());
  Touch("media", id);
  media.segments.clear();
  media.stepsLeft = processingSteps_.value_or(isAnimation ? 1 : 0);
  media.failed = media.stepsLeft > 0 && processingFails_.value_or(0) > 0;
  media.sha256 = whole.Sha256();
  media.file = store_.Keep(whole, id);
}

json::object Twitter::MediaReply(const std::string& id, const Media& media) const {
  json::object reply{{"media_id", IdNumber(id)},
                     {"media_id_string", id},
                     {"size", media.totalBytes},
                     {"expires_after_secs", kLifetime}};
  if (IsImage(media.type)) reply["image"] = {{"image_type", media.type}};
  if (IsVideo(media.type)) reply["video"] = {{"video_type", media.type}};
  if (media.stepsLeft > 0) reply["processing_info"] = ProcessingInfo(media, false);
  return reply;
}

// Each status query is a step. The last one ends the processing.
json::object Twitter::ProcessingInfo(const Media& media, bool started) const {
  if (!media.complete) return {{"state", "pending"}};
  if (media.stepsLeft > 0) {
    json::object info{{"state", started ? "in_progress" : "pending"},
                      {"check_after_secs", checkAfterSecs_.value_or(1)}};
    if (started) info["progress_percent"] = 50;
    return info;
  }
  if (!media.failed) return {{"state", "succeeded"}, {"progress_percent", 100}};
  return {{"state", "failed"},
          {"progress_percent", 100},
          {"error", {{"code", 1}, {"name", "InvalidMedia"}, {"message", "Unsupported media format"}}}};
}

Reply Twitter::GetMediaStatus(const ServiceRequest& request) {
  Authenticate(request);
  Require(request.Query("command") == "STATUS", Missing("command"));
  const std::string id = request.Query("media_id");
  Media& media = FindMedia(id);
  if (media.stepsLeft > 0) --media.stepsLeft;
  Touch("media", id);
  json::object reply = MediaReply(id, media);
  reply["processing_info"] = ProcessingInfo(media, true);
  return JsonReply(200, reply);
}

void Twitter::RequireUsable(const std::vector<std::string>& mediaIds) {
  std::size_t photos = 0;
  for (const std::string& id : mediaIds) {
    const Media& media = FindMedia(id);
    Require(media.complete, Invalid("The media was not finalized.", "FINALIZE did not come for media " + id));
    Require(media.stepsLeft == 0, Invalid("The media is still being processed.",
                                          "media " + id + " is processed after " +
                                              std::to_string(media.stepsLeft) + " more status queries"));
    Require(!media.failed && !IsSubtitle(media.type),
            Invalid("Not valid media.", "media " + id + " is a subtitle, or its processing failed"));
    photos += IsImage(media.type) && !media.category.ends_with("gif") ? 1 : 0;
  }
  const std::size_t others = mediaIds.size() - photos;
  Require(mediaIds.size() <= (others > 0 ? 1 : 4),
          Invalid("The validation of media ids failed.",
                  "a tweet can have four photos, or one video or animation; this one has " +
                      std::to_string(photos) + " photos and " + std::to_string(others) + " others"));
}

// ---- Descriptions and subtitles ----

Reply Twitter::DescribeMedia(const ServiceRequest& request) {
  Authenticate(request);
  Media& media = FindMedia(request.Parameter("media_id"));
  const std::string text = StringMember(ObjectOf(request, "alt_text"), "text");
  Require(CountCharacters(text) <= kMaxAltText, Invalid("alt_text must be at most 1000 characters."));
  media.altText = text;
  Touch("media", request.Parameter("media_id"));
  return {.status = 200};
}

Reply Twitter::AddSubtitles(const ServiceRequest& request) {
  Authenticate(request);
  Media& video = FindMedia(request.Parameter("media_id"));
  for (const json::object& subtitle : SubtitlesOf(request)) {
    FindMedia(StringMember(subtitle, "media_id"));
    video.subtitles.insert(StringMember(subtitle, "language_code"));
  }
  Touch("media", request.Parameter("media_id"));
  return {.status = 200};
}

Reply Twitter::RemoveSubtitles(const ServiceRequest& request) {
  Authenticate(request);
  Media& video = FindMedia(request.Parameter("media_id"));
  for (const json::object& subtitle : SubtitlesOf(request))
    video.subtitles.erase(StringMember(subtitle, "language_code"));
  Touch("media", request.Parameter("media_id"));
  return {.status = 200};
}

}  // namespace velk::sandbox
