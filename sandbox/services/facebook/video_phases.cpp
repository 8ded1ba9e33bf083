// Videos that a client sends to Facebook in phases: start, transfer for each piece, and finish.
#include <algorithm>

#include "services/facebook/facebook.h"

namespace velk::sandbox {

using namespace facebook;

namespace {

namespace json = boost::json;

constexpr std::uint64_t kPieceSize = 1024 * 1024;  // the longest that the service requests
constexpr std::size_t kMaxPieces = 10'000;

// The offsets of the piece that the client sends next. Both are the size after the last one.
json::object NextPiece(std::uint64_t received, std::uint64_t size) {
  return {{"start_offset", std::to_string(received)},
          {"end_offset", std::to_string(std::min(size, received + kPieceSize))}};
}

GraphError UploadError(int subcode, const std::string& message, json::object data = {}) {
  return {400, "OAuthException", 6000, subcode, message, std::move(data), true};
}

}  // namespace

Reply Facebook::StartVideo(const ServiceRequest& request, const std::string& node) {
  const auto size = ToNumber(request.Parameter("file_size"));
  Require(size && *size > 0, InvalidParameter("The parameter file_size is required"));
  VideoSession session{NewVideo(request, node), *size};
  const std::string id = std::to_string(std::stoull(session.video.id) + 1'000'000'000'000ULL);
  json::object reply{{"upload_session_id", id}, {"video_id", session.video.id}};
  for (const auto& [name, value] : NextPiece(0, *size)) reply[name] = value;
  LimitPending(sessions_);
  Touch("session", id);
  sessions_.insert_or_assign(id, std::move(session));
  return JsonReply(200, reply);
}

Facebook::VideoSession& Facebook::FindSession(const ServiceRequest& request) {
  const auto session = sessions_.find(request.Parameter("upload_session_id"));
  Require(session != sessions_.end(), UploadError(1363019, "The upload session does not exist."));
  return session->second;
}

Reply Facebook::TransferVideo(const ServiceRequest& request) {
  VideoSession& session = FindSession(request);
  const FormPart* const chunk = request.Field("video_file_chunk");
  Require(chunk && chunk->content.Size() > 0,
          Because(kNoVideo, "the form has no video_file_chunk, or an empty one"));
  const std::uint64_t received = SizeOf(session.pieces);
  const std::uint64_t size = received + chunk->content.Size();
  Require(ToNumber(request.Parameter("start_offset")) == received,
          Because(UploadError(1363037, "The start_offset is not the expected one.",
                              NextPiece(received, session.size)),
                  "start_offset is " + Quoted(request.Parameter("start_offset")) + ", and " +
                      std::to_string(received) + " bytes have arrived"));
  Require(size <= session.size && session.pieces.size() < kMaxPieces,
          UploadError(1363037, "The piece does not fit the file_size.", NextPiece(received, session.size)));
  session.pieces.push_back({request.received, &chunk->content});
  Touch(kPieceKind, request.Parameter("upload_session_id") + '/' + std::to_string(session.pieces.size() - 1));
  return JsonReply(200, NextPiece(size, session.size));
}

// What the last phase states replaces what the first one stated.
Reply Facebook::FinishVideo(const ServiceRequest& request) {
  VideoSession& session = FindSession(request);
  const std::uint64_t received = SizeOf(session.pieces);
  Require(received == session.size,
          UploadError(1363037, "The file is not complete.", NextPiece(received, session.size)));
  Object video = session.video;
  video.title = request.FindParameter("title").value_or(video.title);
  video.description = request.FindParameter("description").value_or(video.description);
  if (request.FindParameter("privacy")) video.privacy = PrivacyOf(request);
  StoreFile(Assemble(store_, session.pieces), video);
  Publish(video);
  EndSession(request.Parameter("upload_session_id"));
  return JsonReply(200, {{"success", true}});
}

void Facebook::EndSession(const std::string& id) {
  TouchPieces(id, sessions_.at(id).pieces.size());
  Touch("session", id);
  sessions_.erase(id);
}

Reply Facebook::CancelVideo(const ServiceRequest& request) {
  FindSession(request);
  EndSession(request.Parameter("upload_session_id"));
  return JsonReply(200, {{"success", true}});
}

}  // namespace velk::sandbox
