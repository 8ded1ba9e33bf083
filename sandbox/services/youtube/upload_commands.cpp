// The newer form of YouTube's resumable upload: headers of its own state what the older form states with
// methods and ranges.
#include <algorithm>

#include "services/youtube/youtube.h"

namespace velk::sandbox {

using namespace youtube;

namespace {

Reply Active(std::uint64_t received) {
  return {.status = 200,
          .headers = {"X-Goog-Upload-Status: active",
                      "X-Goog-Upload-Size-Received: " + std::to_string(received)}};
}

}  // namespace

// "upload", "finalize", or both; "query"; "cancel".
Reply Youtube::FollowCommand(const ServiceRequest& request) {
  if (HasToken(request)) RequireToken(request);
  Session& session = FindSession(request);
  const std::string header = request.head.Header(kUploadCommand);
  const std::vector<std::string> commands = Split(Lower(header), ',');
  const auto has = [&](const char* name) { return std::ranges::find(commands, name) != commands.end(); };
  if (has("cancel")) {
    CancelSession(request);
    return {.status = 200, .headers = {"X-Goog-Upload-Status: cancelled"}};
  }
  Require(has("upload") || has("finalize") || has("query"), 400, "badRequest",
          "The X-Goog-Upload-Command is unknown.", "", "it is " + Quoted(header));
  if (session.videoId.empty() && has("upload")) AddAtOffset(session, request);
  const std::uint64_t received = SizeOf(session.pieces);
  if (session.videoId.empty() && !has("finalize")) return Active(received);
  if (session.videoId.empty()) {
    RequireLengthOf(session, received);
    FinishSession(request.Query("upload_id"), session);
  }
  Reply reply = JsonReply(200, VideoResource(FindVideo(session.videoId), session.parts));
  reply.headers.emplace_back("X-Goog-Upload-Status: final");
  return reply;
}

void Youtube::AddAtOffset(Session& session, const ServiceRequest& request) {
  const std::string offset = request.head.Header(kUploadOffset);
  const std::uint64_t received = SizeOf(session.pieces);
  Require(ToNumber(offset) == received, 400, "badRequest",
          "The X-Goog-Upload-Offset is not the expected one.", "",
          "it is " + Quoted(offset) + ", and " + std::to_string(received) + " bytes have arrived");
  AddToSession(request.Query("upload_id"), session, request);
}

}  // namespace velk::sandbox
