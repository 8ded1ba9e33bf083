// YouTube's uploads: resumable in one piece or in several, with the metadata in one multipart body, and of
// the media alone.
#include <algorithm>
#include <stdexcept>

#include "kit/byte_strings.h"
#include "services/youtube/content_range.h"
#include "services/youtube/youtube.h"

namespace velk::sandbox {

using namespace youtube;

namespace {

namespace json = boost::json;

constexpr std::uint64_t kPieceUnit = 256 * 1024;
constexpr const char* kWrongLength = "The upload's length differs from the one that was declared.";

void CheckMediaType(std::string_view type) {
  type = Trim(type.substr(0, type.find(';')));
  const bool fits =
      type.empty() || Lower(type).starts_with("video/") || Lower(type) == "application/octet-stream";
  Require(fits, 400, "badContent",
          "Media type '" + std::string(type) +
              "' is not supported. Valid media types: [video/*, application/octet-stream]");
}

// The bytes that a part in base64 means.
std::string Decode(std::string text) {
  std::erase_if(text, [](char c) { return c == '\r' || c == '\n'; });
  try {
    return FromBase64(text);
  } catch (const std::invalid_argument&) {
    throw ApiError{400, "badContent", "The media is not valid base64."};
  }
}

// The client goes on after the last byte that has arrived. One that takes 308 for a redirection has a header
// that moves the status to another one.
Reply Incomplete(const ServiceRequest& request, std::uint64_t received) {
  Reply reply{.status = 308, .reason = "Resume Incomplete", .headers = {"Content-Length: 0"}};
  if (SameName(request.head.Header("X-GUploader-No-308"), "yes"))
    reply = {.status = 200, .headers = {"Content-Length: 0", "X-HTTP-Status-Code-Override: 308"}};
  if (received > 0) reply.headers.push_back("Range: bytes=0-" + std::to_string(received - 1));
  return reply;
}

}  // namespace

// A newer form of the protocol has its own headers for what the older one does with methods and ranges.
Reply Youtube::Insert(const ServiceRequest& request) {
  const bool isNewer = !request.head.Header(kUploadCommand).empty();
  if (!request.Query("upload_id").empty()) return isNewer ? FollowCommand(request) : ContinueSession(request);
  RequireToken(request);
  const Parts parts = RequireParts(request, kVideoParts);
  const std::string command = request.head.Header(kUploadCommand);
  const std::string type = command == "start" ? "resumable" : request.Query("uploadType");
  if (type == "resumable") return StartSession(request, parts);
  if (type == "multipart" || (type.empty() && !request.received->fields.empty()))
    return InsertMultipart(request, parts);
  Require(type == "media" || type.empty(), 400, "badRequest", "The uploadType is unknown.", "uploadType",
          "uploadType is " + Quoted(type) + "; it can be resumable, multipart or media");
  return InsertMedia(request, parts);
}

Reply Youtube::InsertMultipart(const ServiceRequest& request, const Parts& parts) {
  const std::vector<FormPart>& bodies = request.received->fields;
  Require(bodies.size() == 2, 400, "badRequest",
          "A multipart upload has two parts, the metadata and the media.", "",
          "the multipart body has " + std::to_string(bodies.size()) + " parts instead of metadata and media");
  CheckMediaType(bodies[1].contentType);
  const Metadata metadata = ParseMetadata(ParseJson(bodies[0].content), parts);
  const FormPart& media = bodies[1];
  if (media.encoding != "base64")
    return JsonReply(200, VideoResource(Publish(metadata, media.content), parts));
  const Piece decoded = NewPiece(store_, Decode(media.content.Load()));
  return JsonReply(200, VideoResource(Publish(metadata, *decoded.content), parts));
}

Reply Youtube::InsertMedia(const ServiceRequest& request, const Parts& parts) {
  CheckMediaType(request.head.Header("Content-Type"));
  Require(request.received->body.Size() > 0, 400, "mediaBodyRequired",
          "The request does not include the video content.");
  return JsonReply(200, VideoResource(Publish(ParseMetadata({}, parts), request.received->body), parts));
}

// ---- Resumable uploads ----

Reply Youtube::StartSession(const ServiceRequest& request, Parts parts) {
  const bool isNewer = !request.head.Header(kUploadCommand).empty();
  const std::string prefix = isNewer ? "X-Goog-Upload-Header-Content-" : "X-Upload-Content-";
  const std::string declared = request.head.Header(prefix + "Length");
  const auto length = ToNumber(declared);
  Require(declared.empty() || length, 400, "badRequest", prefix + "Length is not a number.", "",
          prefix + "Length is " + Quoted(declared));
  CheckMediaType(request.head.Header(prefix + "Type"));
  const Content& body = request.received->body;
  Metadata metadata = ParseMetadata(body.Size() > 0 ? ParseJson(body) : json::object(), parts);
  const std::string id = RandomName(24);
  LimitPending(sessions_);
  sessions_.emplace(id, Session{length, std::move(metadata), std::move(parts)});
  Touch("session", id);
  const std::string url = "https://" + request.head.host + request.head.target + "&upload_id=" + id;
  if (isNewer)
    return {.status = 200, .headers = {"X-Goog-Upload-Status: active", "X-Goog-Upload-URL: " + url}};
  return {.status = 200, .headers = {"X-GUploader-UploadID: " + id, "Location: " + url}};
}

Youtube::Session& Youtube::FindSession(const ServiceRequest& request) {
  const auto session = sessions_.find(request.Query("upload_id"));
  Require(session != sessions_.end(), 404, "notFound", "The upload session does not exist.", "",
          "no upload has the upload_id " + Quoted(request.Query("upload_id")));
  return session->second;
}

void Youtube::RequireLengthOf(const Session& session, std::optional<std::uint64_t> total) const {
  if (!total || !session.length || *total == *session.length) return;
  throw ApiError{400, "badRequest", kWrongLength, "",
                 "the upload was started with " + std::to_string(*session.length) +
                     " bytes, and this request is for one of " + std::to_string(*total)};
}

// The URL of the session is a secret, so that a token is not necessary. A wrong one is refused.
Reply Youtube::ContinueSession(const ServiceRequest& request) {
  if (HasToken(request)) RequireToken(request);
  Session& session = FindSession(request);
  const std::string id = request.Query("upload_id");
  if (!session.videoId.empty())
    return JsonReply(200, VideoResource(FindVideo(session.videoId), session.parts));
  const Content& body = request.received->body;
  const std::string header = request.head.Header("Content-Range");
  if (header.empty()) {
    RequireLengthOf(session, body.Size());
    TouchPieces(id, session.pieces.size());
    session.pieces.clear();
    AddToSession(id, session, request);
    return FinishSession(id, session);
  }
  const auto range = ParseContentRange(header);
  Require(range.has_value(), 400, "badRequest", "The Content-Range is malformed.", "",
          "Content-Range is " + Quoted(header) + " instead of \"bytes FIRST-LAST/TOTAL\"");
  RequireLengthOf(session, range->total);
  if (range->total) session.length = range->total;
  Touch("session", id);
  const std::uint64_t received = SizeOf(session.pieces);
  if (!range->first)
    return session.length == received ? FinishSession(id, session) : Incomplete(request, received);
  if (*range->first != received) return Incomplete(request, received);
  const std::uint64_t size = *range->last - *range->first + 1;
  Require(body.Size() == size, 400, "badRequest", "The body's length differs from its Content-Range.", "",
          "the body has " + std::to_string(body.Size()) + " bytes, and its Content-Range " +
              std::to_string(size));
  const bool isLast = session.length == *range->last + 1;
  Require(isLast || size % kPieceUnit == 0, 400, "badRequest",
          "The length of a piece is no multiple of 256 KiB.", "",
          "the piece has " + std::to_string(size) +
              " bytes; each piece but the last must be a multiple of 262144");
  AddToSession(id, session, request);
  return isLast ? FinishSession(id, session) : Incomplete(request, received + size);
}

void Youtube::AddToSession(const std::string& id, Session& session, const ServiceRequest& request) {
  session.pieces.push_back(BodyPiece(request.received));
  Touch(kPieceKind, id + '/' + std::to_string(session.pieces.size() - 1));
}

Reply Youtube::FinishSession(const std::string& id, Session& session) {
  TouchPieces(id, session.pieces.size());
  Touch("session", id);
  const std::vector<Piece> pieces = std::move(session.pieces);
  session.pieces.clear();
  const Video& video = pieces.size() == 1 ? Publish(session.metadata, *pieces[0].content)
                                          : Publish(session.metadata, Assemble(store_, pieces));
  session.videoId = video.id;
  return JsonReply(200, VideoResource(video, session.parts));
}

// Keeps what arrived before a connection broke, if it continues what is there.
void Youtube::TakePartial(const ServiceRequest& request) {
  const auto found = sessions_.find(request.Query("upload_id"));
  if (found == sessions_.end() || !found->second.videoId.empty() || request.received->body.Size() == 0)
    return;
  Session& session = found->second;
  const auto range = ParseContentRange(request.head.Header("Content-Range"));
  const bool isNewer = !request.head.Header(kUploadCommand).empty();
  if (!range && !isNewer) {
    TouchPieces(found->first, session.pieces.size());
    session.pieces.clear();
  }
  const std::uint64_t received = SizeOf(session.pieces);
  const auto first = isNewer ? ToNumber(request.head.Header(kUploadOffset))
                             : (range ? range->first : std::optional(received));
  const bool fits = !session.length || received + request.received->body.Size() <= *session.length;
  if (fits && first == received) AddToSession(found->first, session, request);
}

Reply Youtube::CancelSession(const ServiceRequest& request) {
  const std::string id = request.Query("upload_id");
  TouchPieces(id, FindSession(request).pieces.size());
  Touch("session", id);
  sessions_.erase(id);
  return {.status = 499,
          .reason = "Client Closed Request",
          .headers = {"Content-Length: 0"},
          .why = {.text = "the client cancelled the upload, and this is how YouTube confirms it"}};
}

const Youtube::Video& Youtube::Publish(Metadata metadata, const Content& content) {
  Video video{RandomName(11), std::move(metadata), content.Size(), content.Sha256(), {}, Now()};
  video.file = store_.Keep(content, video.id);
  Touch("video", video.id);
  videos_.push_back(std::move(video));
  KeepNewest(videos_);
  return videos_.back();
}

}  // namespace velk::sandbox
