// Simulates YouTube: uploads of every kind, the metadata of videos, and the legacy browser upload.
#pragma once

#include <deque>
#include <map>
#include <string>
#include <vector>

#include "kit/pieces.h"
#include "kit/service.h"
#include "services/youtube/checks.h"

namespace velk::sandbox {

class Youtube : public Service {
 public:
  static constexpr std::string_view kApiHosts[] = {"www.googleapis.com", "youtube.googleapis.com",
                                                   "content-youtube.googleapis.com"};
  static constexpr std::string_view kHosts[] = {kApiHosts[0],          kApiHosts[1],
                                                kApiHosts[2],          "oauth2.googleapis.com",
                                                "accounts.google.com", "gdata.youtube.com"};

  // The browser upload sends its forms to sandboxUrl.
  Youtube(Store& store, std::string sandboxUrl) : store_(store), sandboxUrl_(std::move(sandboxUrl)) {}

  std::string Name() const override { return "youtube"; }
  std::span<const std::string_view> Hosts() const override { return kHosts; }
  void RegisterRoutes() override;
  std::map<std::string_view, Switch*> Switches() override;
  boost::json::object State() const override;
  void Reset() override;
  std::optional<boost::json::object> Save(const RecordId& id) const override;
  void Load(const RecordId& id, const boost::json::object& record) override;
  const Piece* FindPiece(const std::string& id) const override;
  void AddPiece(const std::string& id, const Piece& piece) override;
  std::optional<boost::json::object> Describe(const RecordId& id) const override;
  void TakePartial(const ServiceRequest& request) override;

 protected:
  void Normalize(ServiceRequest& request) const override;
  Reply UnknownPath(const ServiceRequest& request) const override;

 private:
  using Member = Reply (Youtube::*)(const ServiceRequest&);
  static constexpr const char* kUploadCommand = "X-Goog-Upload-Command";
  static constexpr const char* kUploadOffset = "X-Goog-Upload-Offset";
  using Parts = youtube::Parts;

  struct Metadata {
    std::string title = {}, description = {}, categoryId = {}, privacyStatus = {};
    std::vector<std::string> tags = {};
    boost::json::object status = {};  // further members of the status, as the client gave them
  };
  struct Video {
    std::string id = {};
    Metadata metadata = {};
    std::uint64_t size = 0;
    std::string sha256 = {}, file = {};
    std::time_t published = 0;
    std::string thumbnailSha256 = {};
  };
  // A resumable upload. The length is known once the client has stated it.
  struct Session {
    std::optional<std::uint64_t> length = {};
    Metadata metadata = {};
    Parts parts = {};
    std::vector<Piece> pieces = {};
    std::string videoId = {};  // once it is complete
  };
  // A pending browser upload. The form must contain the token. The last segment of the form's URL is the
  // map's key.
  struct FormUpload {
    std::string token = {};
    Metadata metadata = {};
  };

  static boost::json::object StateOf(const std::string& id, const Session& session);
  static boost::json::object StateOf(const Video& video);

  // uploads.cpp
  Reply Insert(const ServiceRequest& request);
  Reply StartSession(const ServiceRequest& request, Parts parts);
  Reply InsertMultipart(const ServiceRequest& request, const Parts& parts);
  Reply InsertMedia(const ServiceRequest& request, const Parts& parts);
  Reply ContinueSession(const ServiceRequest& request);
  Reply FollowCommand(const ServiceRequest& request);
  void AddAtOffset(Session& session, const ServiceRequest& request);
  Reply CancelSession(const ServiceRequest& request);
  Reply FinishSession(const std::string& id, Session& session);
  void AddToSession(const std::string& id, Session& session, const ServiceRequest& request);
  void RequireLengthOf(const Session& session, std::optional<std::uint64_t> total) const;
  Session& FindSession(const ServiceRequest& request);
  const Video& Publish(Metadata metadata, const Content& content);

  // metadata.cpp
  static Metadata ParseMetadata(const boost::json::object& body, const Parts& parts);
  static Metadata UpdatedMetadata(const Metadata& old, const boost::json::object& body, const Parts& parts);

  // videos.cpp
  Reply InsertWithoutMedia(const ServiceRequest& request);
  Reply ListVideos(const ServiceRequest& request);
  Reply UpdateVideo(const ServiceRequest& request);
  Reply DeleteVideo(const ServiceRequest& request);
  Reply SetThumbnail(const ServiceRequest& request);
  Video& FindVideo(const std::string& id);
  static boost::json::object VideoResource(const Video& video, const Parts& parts);

  // channel.cpp
  Reply ListChannels(const ServiceRequest& request);
  Reply ListUploads(const ServiceRequest& request);

  Reply ListCategories(const ServiceRequest& request);
  Reply IssueToken(const ServiceRequest& request);

  // browser_upload.cpp
  Reply GetUploadToken(const ServiceRequest& request);
  Reply HandleFormUpload(const ServiceRequest& request);
  static Metadata ParseEntry(const Content& body);

  Reply Limited(Member member, std::uint64_t cost, const ServiceRequest& request);

  Store& store_;
  const std::string sandboxUrl_;
  std::map<std::string, Session> sessions_;
  std::map<std::string, FormUpload> formUploads_;
  std::deque<Video> videos_;

  Switch rateLimit_, quota_, uploadLimit_;
};

namespace youtube {

// The channel of every user, and the playlist of its uploads.
inline constexpr std::string_view kChannelId = "UCvelkSandbox000000000000";
inline constexpr std::string_view kChannelTitle = "Velk Sandbox";
inline constexpr std::string_view kUploadsId = "UUvelkSandbox000000000000";

bool IsAssignableCategory(std::string_view id);
std::string_view CategoryTitle(std::string_view id);  // empty for an unknown one

// One page of a list. The request can limit and continue it with maxResults and pageToken.
boost::json::object Page(const ServiceRequest& request, const char* kind, const boost::json::array& items);

}  // namespace youtube
}  // namespace velk::sandbox
