// Simulates Facebook's Graph API: access tokens, the user, the user's pages, and published objects.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "kit/pieces.h"
#include "kit/service.h"
#include "services/facebook/errors.h"
#include "services/facebook/fields.h"

namespace velk::sandbox {

// Accepts any access token. Three tokens select other behaviour, for tests of a client's error handling:
//   expired    status 400, code 190 "Error validating access token", also for token exchange and token check
//   forbidden  status 403, code 200 (no permission) for each request that publishes or changes
//   pageless   the user manages no page
// The token exchange returns the same token with the prefix "long-", valid for 60 days. It rejects the client
// secret "wrong". The user ("me") is 100000000000001 and manages the pages 104000000000001 and
// 104000000000002. With the token of a page, "me" is the page. The identifier of a video or photo is NUMBER.
// The identifier of a story is NODE_NUMBER. The story of a photo has the photo's NUMBER. Objects exist until
// a reset.
class Facebook : public Service {
 public:
  static constexpr std::string_view kHosts[] = {"graph.facebook.com", "graph-video.facebook.com",
                                                "www.facebook.com"};

  explicit Facebook(Store& store) : store_(store) {}

  std::string Name() const override { return "facebook"; }
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

 protected:
  void Normalize(ServiceRequest& request) const override;
  Reply UnknownPath(const ServiceRequest& request) const override;

 private:
  using Member = Reply (Facebook::*)(const ServiceRequest&);

  // A video, a photo, a story or a comment.
  struct Object {
    std::string kind, id, node;
    std::string title = {}, message = {}, description = {}, link = {}, source = {}, privacy = {};
    std::string photoId = {};                // only in the story of a photo
    std::string parent = {};                 // only in a comment
    std::vector<std::string> attached = {};  // photos of a story
    std::string url = {};                    // of a medium that the client did not send
    bool published = true;
    std::time_t created = 0;
    std::uint64_t size = 0;
    std::string sha256 = {}, file = {};
  };
  // A video that arrives in phases.
  struct VideoSession {
    Object video;
    std::uint64_t size = 0;
    std::vector<Piece> pieces = {};
  };
  static boost::json::object StateOf(const Object& object);
  static boost::json::object StateOf(const std::string& id, const VideoSession& session);

  // tokens.cpp
  Reply IssueToken(const ServiceRequest& request);
  Reply GetTokenInfo(const ServiceRequest& request);
  Reply DebugToken(const ServiceRequest& request);

  // publish.cpp
  Reply PublishVideo(const ServiceRequest& request);
  Reply PublishPhoto(const ServiceRequest& request);
  Reply PublishPost(const ServiceRequest& request);
  Reply PublishComment(const ServiceRequest& request);
  void Publish(Object object);
  Object NewObject(std::string kind, const std::string& node);
  Object NewVideo(const ServiceRequest& request, const std::string& node);
  void StoreFile(const Content& content, Object& object);
  Reply Created(const ServiceRequest& request, const Object& object, boost::json::object reply);

  // video_phases.cpp
  Reply StartVideo(const ServiceRequest& request, const std::string& node);
  Reply TransferVideo(const ServiceRequest& request);
  Reply FinishVideo(const ServiceRequest& request);
  Reply CancelVideo(const ServiceRequest& request);
  VideoSession& FindSession(const ServiceRequest& request);
  void EndSession(const std::string& id);

  // objects.cpp
  Reply GetNode(const ServiceRequest& request);
  Reply GetNodes(const ServiceRequest& request);
  Reply GetEdge(const ServiceRequest& request);
  Reply UpdateObject(const ServiceRequest& request);
  Reply DeleteObject(const ServiceRequest& request);
  Object& FindObject(const std::string& id, const char* method);
  boost::json::object ReadNode(const ServiceRequest& request, const std::string& id);
  boost::json::object Select(const ServiceRequest& request, const std::string& id,
                             const boost::json::object& all, std::string_view type,
                             const std::vector<facebook::Field>& fields);
  boost::json::object EdgePage(const ServiceRequest& request, const std::string& id, const std::string& edge,
                               const std::vector<facebook::Field>& fields, std::uint64_t limit);
  boost::json::object EdgeMember(const ServiceRequest& request,
                                 const std::pair<std::string, boost::json::object>& member,
                                 const std::vector<facebook::Field>& fields);
  std::vector<std::pair<std::string, boost::json::object>> EdgeMembers(const ServiceRequest& request,
                                                                       const std::string& id,
                                                                       const std::string& edge);
  boost::json::object AllMembers(const Object& object) const;

  // batch.cpp
  Reply RunBatch(const ServiceRequest& request);
  boost::json::object RunStep(const ServiceRequest& request, const boost::json::object& step,
                              std::string& why);

  Reply Limited(const Handler& handler, const ServiceRequest& request);

  Store& store_;
  std::uint64_t objectCount_ = 0;
  std::deque<Object> objects_;
  std::map<std::string, VideoSession> sessions_;
  bool inBatch_ = false;

  Switch appLimit_, callLimit_;
};

namespace facebook {

inline constexpr std::string_view kUserId = "100000000000001";
inline constexpr const char* kUserName = "Vera Velk";

struct Page {
  const char* id;
  const char* name;
  const char* categoryId;
  const char* category;
};
inline constexpr std::string_view kPageToken = "page-token-";
std::span<const Page> Pages();
const Page* FindPage(std::string_view id);  // null if there is none

std::string VersionOf(const ServiceRequest& request);  // "/v24.0" of its path; empty without one
std::string TokenOf(const ServiceRequest& request);
std::string NodeId(const ServiceRequest& request, const std::string& node);  // resolves "me"
void RequirePublishPermission(const ServiceRequest& request);

// The value in a privacy object such as {'value':'SELF'}. Without one, the service's default.
std::string PrivacyOf(const ServiceRequest& request);

}  // namespace facebook
}  // namespace velk::sandbox
