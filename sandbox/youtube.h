// Stands in for the video service: resumable sessions, uploads into them, and the videos they make.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "service.h"

namespace velk::sandbox {

// Any bearer token will do, except two that show how a host meets refusals: "expired" is answered with 401
// and "forbidden" with 403.
class Youtube : public Service {
 public:
  explicit Youtube(Store& store) : store_(store) {}

  std::string Name() const override { return "youtube"; }
  void Enter(Routes& routes) override;
  boost::json::object State() const override;
  void Reset() override;

 private:
  struct Metadata {
    std::string title, description, categoryId, privacyStatus;
    std::vector<std::string> tags;
  };
  struct Video {
    std::string id;
    Metadata metadata;
    std::uint64_t size;
    std::string sha256, file;
  };
  struct Session {
    std::uint64_t length;
    Metadata metadata;
  };

  Reply Begin(const ServiceRequest& request);
  Reply Upload(const ServiceRequest& request);
  static Metadata ReadMetadata(const Content& body);
  static boost::json::object Resource(const Video& video);

  Store& store_;
  std::map<std::string, Session> sessions_;
  std::vector<Video> videos_;
};

}  // namespace velk::sandbox
