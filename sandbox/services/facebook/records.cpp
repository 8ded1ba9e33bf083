// What Facebook stores, as records that outlive the process.
#include <algorithm>

#include "kit/record.h"
#include "services/facebook/facebook.h"

namespace velk::sandbox {

namespace json = boost::json;

namespace {

template <typename Object>
constexpr auto kObjectFields = std::tuple{
    RecordField{"kind", &Object::kind},       RecordField{"id", &Object::id},
    RecordField{"node", &Object::node},       RecordField{"title", &Object::title},
    RecordField{"message", &Object::message}, RecordField{"description", &Object::description},
    RecordField{"link", &Object::link},       RecordField{"source", &Object::source},
    RecordField{"privacy", &Object::privacy}, RecordField{"photoId", &Object::photoId},
    RecordField{"parent", &Object::parent},   RecordField{"attached", &Object::attached},
    RecordField{"url", &Object::url},         RecordField{"published", &Object::published},
    RecordField{"created", &Object::created}, RecordField{"size", &Object::size},
    RecordField{"sha256", &Object::sha256},   RecordField{"file", &Object::file},
};

}  // namespace

std::optional<json::object> Facebook::Save(const RecordId& id) const {
  if (id.first == "count") return json::object{{"objects", objectCount_}};
  if (id.first == "object") {
    const auto found = std::ranges::find(objects_, id.second, &Object::id);
    if (found != objects_.end()) return WriteRecord(*found, kObjectFields<Object>);
  }
  if (id.first == "session") {
    const auto found = sessions_.find(id.second);
    if (found == sessions_.end()) return std::nullopt;
    return json::object{{"video", WriteRecord(found->second.video, kObjectFields<Object>)},
                        {"size", found->second.size}};
  }
  return std::nullopt;
}

void Facebook::Load(const RecordId& id, const json::object& record) {
  if (id.first == "count") objectCount_ = record.at("objects").to_number<std::uint64_t>();
  if (id.first == "object") {
    ReadRecord(record, kObjectFields<Object>, objects_.emplace_back());
    KeepNewest(objects_);
  }
  if (id.first == "session") {
    VideoSession& session = sessions_[id.second];
    ReadRecord(record.at("video").as_object(), kObjectFields<Object>, session.video);
    session.size = record.at("size").to_number<std::uint64_t>();
  }
}

const Piece* Facebook::FindPiece(const std::string& id) const {
  const auto [upload, number] = SplitPieceId(id);
  const auto session = sessions_.find(upload);
  return session == sessions_.end() ? nullptr : PieceAt(session->second.pieces, number);
}

void Facebook::AddPiece(const std::string& id, const Piece& piece) {
  const auto [upload, number] = SplitPieceId(id);
  const auto session = sessions_.find(upload);
  if (session != sessions_.end()) Append(session->second.pieces, number, piece);
}

}  // namespace velk::sandbox
