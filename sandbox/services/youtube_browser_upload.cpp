// The video service's older interface: an Atom entry buys an address and a token, and a form with both brings
// the file.
#include <boost/property_tree/xml_parser.hpp>
#include <sstream>

#include "services/youtube.h"
#include "services/youtube_checks.h"

namespace velk::sandbox {

using namespace youtube;

namespace {

namespace tree = boost::property_tree;

constexpr std::string_view kFormPath = "/action/FormDataUpload/";

tree::ptree ReadXml(const Content& body) {
  std::istringstream stream(body.Bytes());
  tree::ptree document;
  try {
    tree::read_xml(stream, document);
  } catch (const tree::xml_parser_error&) {
    Demand(false, 400, "parseError", "The entry is not well-formed.");
  }
  return document;
}

void DemandAttribute(const tree::ptree& element, const std::string& name, const std::string& value) {
  Demand(element.get("<xmlattr>." + name, "") == value, 400, "parseError",
         "An attribute is not the right one.");
}

std::string RequiredText(const tree::ptree& group, const std::string& name) {
  const std::string text = group.get(name, "");
  Demand(!text.empty(), 400, "required", "The entry lacks a text.");
  return text;
}

std::vector<std::string> SplitAtCommas(const std::string& text) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, ',');) parts.push_back(part);
  return parts;
}

}  // namespace

Youtube::Metadata Youtube::ReadEntry(const Content& body) {
  const tree::ptree document = ReadXml(body);
  const auto entry = document.get_child_optional("entry");
  Demand(entry.has_value(), 400, "parseError", "The document is no entry.");
  DemandAttribute(*entry, "xmlns", "http://www.w3.org/2005/Atom");
  DemandAttribute(*entry, "xmlns:media", "http://search.yahoo.com/mrss/");
  DemandAttribute(*entry, "xmlns:yt", "http://gdata.youtube.com/schemas/2007");
  const tree::ptree group = entry->get_child("media:group", {});
  Metadata metadata{RequiredText(group, "media:title"), RequiredText(group, "media:description"),
                    RequiredText(group, "media:category"), "public",
                    SplitAtCommas(RequiredText(group, "media:keywords"))};
  DemandAttribute(group.get_child("media:category"), "scheme",
                  "http://gdata.youtube.com/schemas/2007/categories.cat");
  return metadata;
}

Reply Youtube::GrantTicket(const ServiceRequest& request) {
  CheckToken(request);
  const Head& head = request.head;
  const std::string key = head.Header("X-GData-Key");
  Demand(key.starts_with("key=") && key.size() > 4, 403, "developerKey", "A developer key is required.");
  Demand(head.Header("GData-Version") == "2", 400, "badRequest", "Only version 2 is known.");
  Demand(head.Header("Content-Type").starts_with("application/atom+xml"), 415, "badRequest",
         "The body is no Atom entry.");
  Ticket ticket{RandomName(64), ReadEntry(request.received.body)};
  const std::string name = RandomName(32);
  const std::string body = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><response><url>" + address_ +
                           std::string(kFormPath) + name + "</url><token>" + ticket.token +
                           "</token></response>";
  tickets_.emplace(name, std::move(ticket));
  return {.headers = {"Content-Type: application/xml; charset=UTF-8"}, .body = body};
}

Reply Youtube::TakeForm(const ServiceRequest& request) {
  const auto ticket = tickets_.find(request.Place("ticket"));
  Demand(ticket != tickets_.end(), 404, "notFound", "There is no such upload.");
  const std::string next = request.Query("nexturl");
  Demand(!next.empty(), 400, "badRequest", "The address to go on to is missing.");
  const FormPart* const token = request.Field("token");
  Demand(token && token->content.Bytes() == ticket->second.token, 401, "authError",
         "The token does not fit.");
  const FormPart* const file = request.Field("file");
  Demand(file && file->content.Size() > 0, 400, "badRequest", "There is no file.");
  const Video& video = Publish(std::move(ticket->second.metadata), file->content);
  tickets_.erase(ticket);
  return {.status = 302, .headers = {"Location: " + next + "?status=200&id=" + video.id}};
}

}  // namespace velk::sandbox
