// Publishing to Facebook: videos in one request, photos, posts and comments.
#include <algorithm>
#include <boost/json/array.hpp>
#include <boost/json/serialize.hpp>

#include "kit/media_type.h"
#include "services/facebook/facebook.h"
#include "services/lenient_json.h"

namespace velk::sandbox {

using namespace facebook;

namespace {

namespace json = boost::json;

constexpr std::uint64_t kFirstObjectNumber = 10150000000001;

// Clients name the file of a photo or video in their own way.
const FormPart* FileOf(const ServiceRequest& request) {
  const std::vector<FormPart>& fields = request.received->fields;
  const auto file = std::ranges::find_if(fields, [](const FormPart& part) { return !part.fileName.empty(); });
  if (file != fields.end()) return &*file;
  return request.Field("source") ? request.Field("source") : request.Field("file");
}

std::string WhyNoFile(const FormPart* file, const std::string& urlName) {
  if (file) return "the file " + Quoted(file->name) + " of the form is empty";
  return "the request is no multipart form with a file, and has no " + urlName + " that starts with http";
}

bool IsUrl(std::string_view text) { return text.starts_with("http://") || text.starts_with("https://"); }

// An identifier is a string. Some clients send it as a number.
std::string MediaId(const json::value* id) {
  Require(id && (id->is_string() || id->is_int64() || id->is_uint64()),
          InvalidParameter("attached_media must be a list of media_fbid"));
  return id->is_string() ? std::string(id->get_string()) : json::serialize(*id);
}

// attached_media is a list of {"media_fbid": ID}. Its elements can also be attached_media[0],
// attached_media[1] and so on, or their members attached_media[0][media_fbid].
std::vector<std::string> AttachedMedia(const ServiceRequest& request) {
  json::array list;
  std::vector<std::string> ids;
  if (const auto parsed = ParseLenientJson(request.Parameter("attached_media")); parsed && parsed->is_array())
    list = parsed->get_array();
  for (const Pairs* const pairs : {&request.form, &request.query}) {
    for (const auto& [name, value] : *pairs) {
      if (!name.starts_with("attached_media[")) continue;
      if (name.ends_with("][media_fbid]"))
        ids.push_back(value);
      else if (const auto parsed = ParseLenientJson(value))
        list.push_back(*parsed);
    }
  }
  for (const json::value& element : list)
    ids.push_back(MediaId(element.is_object() ? element.get_object().if_contains("media_fbid") : nullptr));
  return ids;
}

bool IsPublished(const ServiceRequest& request) {
  return request.Flag("published", true) && !request.FindParameter("scheduled_publish_time");
}

}  // namespace

void Facebook::Publish(Object object) {
  Touch("object", object.id);
  objects_.push_back(std::move(object));
  KeepNewest(objects_);
}

Facebook::Object Facebook::NewObject(std::string kind, const std::string& node) {
  Object object{
      .kind = std::move(kind), .id = std::to_string(kFirstObjectNumber + objectCount_++), .node = node};
  Touch("count");
  if (object.kind == "story") object.id = node + '_' + object.id;
  object.privacy = "EVERYONE";
  object.created = Now();
  return object;
}

Facebook::Object Facebook::NewVideo(const ServiceRequest& request, const std::string& node) {
  const std::string privacy = PrivacyOf(request);
  Object video = NewObject("video", node);
  video.title = request.Parameter("title");
  video.description = request.Parameter("description");
  video.privacy = privacy;
  video.source = "https://video.velk.example/" + video.id + ".mp4";
  video.published = IsPublished(request);
  return video;
}

void Facebook::StoreFile(const Content& content, Object& object) {
  object.size = content.Size();
  object.sha256 = content.Sha256();
  object.file = store_.Keep(content, object.kind + '-' + object.id);
}

// The reply to a request with `fields` also has these.
Reply Facebook::Created(const ServiceRequest& request, const Object& object, json::object reply) {
  if (!request.Parameter("fields").empty()) {
    for (const auto& [name, value] : ReadNode(request, object.id)) reply.emplace(name, value);
  }
  return JsonReply(200, reply);
}

Reply Facebook::PublishVideo(const ServiceRequest& request) {
  RequirePublishPermission(request);
  const std::string phase = request.Parameter("upload_phase");
  if (phase == "transfer") return TransferVideo(request);
  if (phase == "finish") return FinishVideo(request);
  if (phase == "cancel") return CancelVideo(request);
  const std::string node = NodeId(request, request.PathParameter("node"));
  if (phase == "start") return StartVideo(request, node);
  const FormPart* const file = FileOf(request);
  const std::string url = request.Parameter("file_url");
  Require((file && file->content.Size() > 0) || IsUrl(url), Because(kNoVideo, WhyNoFile(file, "file_url")));
  Object video = NewVideo(request, node);
  video.url = url;
  if (file) StoreFile(file->content, video);
  Publish(video);
  return Created(request, video, {{"id", video.id}});
}

// A photo that is not published has no story. A post can attach it.
Reply Facebook::PublishPhoto(const ServiceRequest& request) {
  RequirePublishPermission(request);
  const std::string node = NodeId(request, request.PathParameter("node"));
  const FormPart* const file = FileOf(request);
  const std::string url = request.Parameter("url");
  Require((file && file->content.Size() > 0) || IsUrl(url), Because(kNoPhoto, WhyNoFile(file, "url")));
  Require(!file || !ImageType(file->content.Start()).empty(),
          Because(kNotAPhoto, "the file does not start as JPEG, PNG, GIF or WebP do"));
  const std::string privacy = PrivacyOf(request);
  Object photo = NewObject("photo", node);
  photo.message = request.FindParameter("message").value_or(request.Parameter("caption"));
  photo.link = "https://www.facebook.com/photo.php?fbid=" + photo.id;
  photo.source = "https://photos.velk.example/" + photo.id + ".jpg";
  photo.privacy = privacy;
  photo.url = url;
  photo.published = IsPublished(request);
  if (file) StoreFile(file->content, photo);
  Publish(photo);
  if (!photo.published) return Created(request, photo, {{"id", photo.id}});
  Object story = NewObject("story", node);
  story.id = node + '_' + photo.id;
  story.message = photo.message;
  story.link = photo.link;
  story.privacy = privacy;
  story.photoId = photo.id;
  Publish(story);
  return Created(request, photo, {{"id", photo.id}, {"post_id", story.id}});
}

Reply Facebook::PublishPost(const ServiceRequest& request) {
  RequirePublishPermission(request);
  const std::string node = NodeId(request, request.PathParameter("node"));
  const std::string privacy = PrivacyOf(request);
  Object story = NewObject("story", node);
  story.message = request.Parameter("message");
  story.link = request.Parameter("link");
  story.attached = AttachedMedia(request);
  story.privacy = privacy;
  story.published = IsPublished(request);
  Require(!story.message.empty() || !story.link.empty() || !story.attached.empty(),
          Because(kNothingToPost, "the post has neither message nor link nor attached_media"));
  for (const std::string& id : story.attached) FindObject(id, "post");
  Publish(story);
  return Created(request, story, {{"id", story.id}});
}

Reply Facebook::PublishComment(const ServiceRequest& request) {
  RequirePublishPermission(request);
  const Object& parent = FindObject(request.PathParameter("node"), "post");
  Object comment = NewObject("comment", parent.node);
  comment.id = parent.id.substr(parent.id.find('_') + 1) + '_' + comment.id;
  comment.parent = parent.id;
  comment.message = request.Parameter("message");
  Require(!comment.message.empty(), Because(kNothingToPost, "the message is missing or empty"));
  Publish(comment);
  return Created(request, comment, {{"id", comment.id}});
}

}  // namespace velk::sandbox
