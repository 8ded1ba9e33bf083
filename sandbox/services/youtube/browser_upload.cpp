// YouTube's older interface: the client sends an Atom entry, receives a URL and a token, and then posts a
// form with the token and the file to that URL.
#include <algorithm>
#include <boost/property_tree/xml_parser.hpp>
#include <sstream>

#include "services/youtube/checks.h"
#include "services/youtube/youtube.h"

namespace velk::sandbox {

using namespace youtube;

namespace {

namespace tree = boost::property_tree;

constexpr std::string_view kFormPath = "/action/FormDataUpload/";
constexpr std::ptrdiff_t kMaxElements = 1000;

// read_xml is recursive. Without a limit, deeply nested elements would overflow the stack.
bool HasTooManyElements(std::string_view xml) {
  std::ptrdiff_t elements = 0;
  for (std::size_t at = xml.find('<'); at != xml.npos && elements <= kMaxElements; at = xml.find('<', at + 1))
    elements += xml.substr(at + 1).starts_with('/') ? 0 : 1;
  return elements > kMaxElements;
}

tree::ptree ParseXml(const Content& body) {
  const std::string text = body.Text();
  Require(!HasTooManyElements(text), 400, "parseError", "The entry is not well-formed.");
  std::istringstream stream(text);
  tree::ptree document;
  try {
    tree::read_xml(stream, document);
  } catch (const tree::xml_parser_error&) {
    Require(false, 400, "parseError", "The entry is not well-formed.");
  }
  return document;
}

void RequireAttribute(const tree::ptree& element, const std::string& name, const std::string& value) {
  const std::string given = element.get("<xmlattr>." + name, "");
  Require(given == value, 400, "parseError", "An attribute is not the right one.", "",
          "the attribute " + name + " is " + Quoted(given) + " instead of " + Quoted(value));
}

std::string RequiredText(const tree::ptree& group, const std::string& name) {
  std::string text = group.get(name, "");
  Require(!text.empty(), 400, "required", "The entry lacks a text.", "",
          "the element " + name + " is missing or empty");
  return text;
}

std::vector<std::string> SplitAtCommas(const std::string& text) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, ',');) parts.push_back(part);
  return parts;
}

}  // namespace

Youtube::Metadata Youtube::ParseEntry(const Content& body) {
  const tree::ptree document = ParseXml(body);
  const auto entry = document.get_child_optional("entry");
  Require(entry.has_value(), 400, "parseError", "The document is no entry.");
  RequireAttribute(*entry, "xmlns", "http://www.w3.org/2005/Atom");
  RequireAttribute(*entry, "xmlns:media", "http://search.yahoo.com/mrss/");
  RequireAttribute(*entry, "xmlns:yt", "http://gdata.youtube.com/schemas/2007");
  const tree::ptree group = entry->get_child("media:group", {});
  Metadata metadata{RequiredText(group, "media:title"), RequiredText(group, "media:description"),
                    RequiredText(group, "media:category"), "public",
                    SplitAtCommas(RequiredText(group, "media:keywords"))};
  RequireAttribute(group.get_child("media:category"), "scheme",
                   "http://gdata.youtube.com/schemas/2007/categories.cat");
  return metadata;
}

Reply Youtube::GetUploadToken(const ServiceRequest& request) {
  RequireToken(request);
  const Head& head = request.head;
  const std::string key = head.Header("X-GData-Key");
  Require(key.starts_with("key=") && key.size() > 4, 403, "developerKey", "A developer key is required.", "",
          "the header X-GData-Key is not \"key=KEY\"");
  Require(head.Header("GData-Version") == "2", 400, "badRequest", "Only version 2 is known.", "",
          "the header GData-Version is " + Quoted(head.Header("GData-Version")) + " instead of 2");
  Require(head.Header("Content-Type").starts_with("application/atom+xml"), 415, "badRequest",
          "The body is no Atom entry.", "", "the Content-Type is not application/atom+xml");
  FormUpload upload{RandomName(64), ParseEntry(request.received->body)};
  const std::string name = RandomName(32);
  const std::string body = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><response><url>" + sandboxUrl_ +
                           std::string(kFormPath) + name + "</url><token>" + upload.token +
                           "</token></response>";
  LimitPending(formUploads_);
  formUploads_.emplace(name, std::move(upload));
  Touch("form", name);
  return {.headers = {"Content-Type: application/xml; charset=UTF-8"}, .body = body};
}

Reply Youtube::HandleFormUpload(const ServiceRequest& request) {
  const auto upload = formUploads_.find(request.PathParameter("upload"));
  Require(upload != formUploads_.end(), 404, "notFound", "There is no such upload.");
  const std::string next = request.Query("nexturl");
  Require(!next.empty(), 400, "badRequest", "The address to go on to is missing.", "",
          "the query has no nexturl");
  // A decoded line end would end the Location header and let the client write the rest of the reply.
  Require(std::ranges::none_of(next, [](unsigned char c) { return c < 0x20 || c == 0x7F; }), 400,
          "badRequest", "nexturl contains a control character.");
  const FormPart* const token = request.Field("token");
  Require(token && token->content.Text() == upload->second.token, 401, "authError", "The token does not fit.",
          "", "the field token of the form is not the token that came with the form's URL");
  const FormPart* const file = request.Field("file");
  Require(file && file->content.Size() > 0, 400, "badRequest", "There is no file.");
  const Video& video = Publish(upload->second.metadata, file->content);
  Touch("form", upload->first);
  formUploads_.erase(upload);
  return {.status = 302, .headers = {"Location: " + next + "?status=200&id=" + video.id}};
}

}  // namespace velk::sandbox
