// Simulates YouTube: resumable uploads, the older browser upload, and the metadata of the videos.
#pragma once

#include <deque>
#include <map>
#include <string>
#include <vector>

#include "kit/service.h"

namespace velk::sandbox {

class Youtube : public Service {
 public:
  static constexpr std::string_view kHosts[] = {"www.googleapis.com", "youtube.googleapis.com",
                                                "gdata.youtube.com"};

  // The browser upload sends its forms to sandboxUrl.
  Youtube(Store& store, std::string sandboxUrl) : store_(store), sandboxUrl_(std::move(sandboxUrl)) {}

  std::string Name() const override { return "youtube"; }
  std::span<const std::string_view> Hosts() const override { return kHosts; }
  void RegisterRoutes() override;
  boost::json::object State() const override;
  void Reset() override;

 protected:
  Reply UnknownPath(const ServiceRequest& request) const override;

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
  // A pending browser upload. The form must contain the token. The last segment of the form's URL is the
  // map's key.
  struct FormUpload {
    std::string token;
    Metadata metadata;
  };

  Reply StartSession(const ServiceRequest& request);
  Reply UploadVideo(const ServiceRequest& request);
  Reply UpdateVideo(const ServiceRequest& request);
  static Metadata ParseMetadata(const boost::json::object& body);
  static boost::json::object VideoResource(const Video& video);
  const Video& Publish(Metadata metadata, const Content& content);

  static Reply GetCategory(const ServiceRequest& request);

  Reply GetUploadToken(const ServiceRequest& request);
  Reply HandleFormUpload(const ServiceRequest& request);
  static Metadata ParseEntry(const Content& body);

  Store& store_;
  const std::string sandboxUrl_;
  std::map<std::string, Session> sessions_;
  std::map<std::string, FormUpload> formUploads_;
  std::deque<Video> videos_;
};

}  // namespace velk::sandbox
