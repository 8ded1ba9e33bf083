// Stands in for the video service: resumable sessions and the older browser upload, the videos that they
// make, and their metadata.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "kit/service.h"

namespace velk::sandbox {

class Youtube : public Service {
 public:
  // The browser upload sends its forms to the sandbox's own address.
  Youtube(Store& store, std::string address) : store_(store), address_(std::move(address)) {}

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
  // What a form may be sent for: its address ends with the ticket, and the token has to go with it.
  struct Ticket {
    std::string token;
    Metadata metadata;
  };

  Reply Begin(const ServiceRequest& request);
  Reply Upload(const ServiceRequest& request);
  Reply Update(const ServiceRequest& request);
  static Metadata ReadMetadata(const boost::json::object& body);
  static boost::json::object Resource(const Video& video);
  const Video& Publish(Metadata metadata, const Content& content);

  static Reply Category(const ServiceRequest& request);

  Reply GrantTicket(const ServiceRequest& request);
  Reply TakeForm(const ServiceRequest& request);
  static Metadata ReadEntry(const Content& body);

  Store& store_;
  const std::string address_;
  std::map<std::string, Session> sessions_;
  std::map<std::string, Ticket> tickets_;
  std::vector<Video> videos_;
};

}  // namespace velk::sandbox
