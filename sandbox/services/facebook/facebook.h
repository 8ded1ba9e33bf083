// Simulates Facebook's Graph API: access tokens, the user, the user's pages, and published objects.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "kit/service.h"

namespace velk::sandbox {

// Accepts any access token. Three tokens select other behaviour, for tests of a client's error handling:
//   expired    status 400, code 190 "Error validating access token", also for token exchange and token check
//   forbidden  status 403, code 200 (no permission) for each request that publishes or changes
//   pageless   the user manages no page
// The token exchange returns the same token with the prefix "long-", valid for 60 days. It rejects the client
// secret "wrong". The user ("me") is 100000000000001 and manages the pages 104000000000001 and
// 104000000000002. The identifier of a video or photo is NUMBER. The identifier of a story is NODE_NUMBER.
// The story of a photo has the photo's NUMBER. Objects exist until a reset.
class Facebook : public Service {
 public:
  static constexpr std::string_view kHosts[] = {"graph.facebook.com", "graph-video.facebook.com",
                                                "www.facebook.com"};

  explicit Facebook(Store& store) : store_(store) {}

  std::string Name() const override { return "facebook"; }
  std::span<const std::string_view> Hosts() const override { return kHosts; }
  void RegisterRoutes() override;
  boost::json::object State() const override;
  void Reset() override;

 protected:
  Reply UnknownPath(const ServiceRequest& request) const override;

 private:
  // A video, a photo or a story.
  struct Object {
    std::string kind, id, node;
    std::string title, message, description, link, source, privacy;
    std::string photoId;  // only in the story of a photo
    std::uint64_t size = 0;
    std::string sha256, file;
  };

  Reply PublishVideo(const ServiceRequest& request);
  Reply PublishPhoto(const ServiceRequest& request);
  Reply PublishPost(const ServiceRequest& request);
  Reply GetObject(const ServiceRequest& request);
  Reply UpdateObject(const ServiceRequest& request);

  void Publish(Object object);
  Object NewObject(std::string kind, const std::string& node);
  void StoreFile(const ServiceRequest& request, Object& object);
  Object& FindObject(const std::string& id, const char* method);

  Store& store_;
  std::uint64_t objectCount_ = 0;
  std::deque<Object> objects_;
};

}  // namespace velk::sandbox
