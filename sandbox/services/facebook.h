// Stands in for Facebook's Graph API: tokens, the user and the pages, and everything that is published.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kit/service.h"

namespace velk::sandbox {

// Any access token will do, except three that show how a host meets refusals:
//   expired    "Error validating access token" (status 400, code 190), also to the token exchange and check
//   forbidden  a missing permission (status 403, code 200) for whatever is published or changed
//   pageless   a user who manages no page
// Trading a token gives the same one with "long-" before it, for 60 days; the secret "wrong" is refused.
// The user ("me") is 100000000000001 and manages the pages 104000000000001 and 104000000000002. What is
// published gets a number as identifier, a story the node's number before it (and a photo's story the photo's
// behind that); all are known until a reset.
class Facebook : public Service {
 public:
  explicit Facebook(Store& store) : store_(store) {}

  std::string Name() const override { return "facebook"; }
  void Enter(Routes& routes) override;
  boost::json::object State() const override;
  void Reset() override;

 private:
  // A video, a photo or a story; a story may be about a photo.
  struct Object {
    std::string kind, id, node;
    std::string title, message, description, link, source, privacy;
    std::string about;
    std::uint64_t size = 0;
    std::string sha256, file;
  };

  Reply PublishVideo(const ServiceRequest& request);
  Reply PublishPhoto(const ServiceRequest& request);
  Reply PublishPost(const ServiceRequest& request);
  Reply Read(const ServiceRequest& request);
  Reply Change(const ServiceRequest& request);

  Object NewObject(std::string kind, const std::string& node);
  void KeepFile(const ServiceRequest& request, Object& object);
  Object& Known(const std::string& id, const char* method);

  Store& store_;
  std::uint64_t published_ = 0;
  std::vector<Object> objects_;
};

}  // namespace velk::sandbox
