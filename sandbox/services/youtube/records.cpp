// What YouTube stores, as records that outlive the process.
#include <algorithm>

#include "kit/record.h"
#include "services/youtube/youtube.h"

namespace velk::sandbox {

namespace json = boost::json;

namespace {

template <typename Metadata>
constexpr auto kMetadataFields = std::tuple{
    RecordField{"title", &Metadata::title},
    RecordField{"description", &Metadata::description},
    RecordField{"categoryId", &Metadata::categoryId},
    RecordField{"privacyStatus", &Metadata::privacyStatus},
    RecordField{"tags", &Metadata::tags},
    RecordField{"status", &Metadata::status},
};

template <typename Video>
constexpr auto kVideoFields = std::tuple{
    RecordField{"id", &Video::id},
    RecordField{"size", &Video::size},
    RecordField{"sha256", &Video::sha256},
    RecordField{"file", &Video::file},
    RecordField{"published", &Video::published},
    RecordField{"thumbnailSha256", &Video::thumbnailSha256},
};

// What has metadata, with the other fields that it has.
template <typename Struct, typename Fields>
json::object WithMetadata(const Struct& from, const Fields& fields) {
  using Metadata = decltype(from.metadata);
  json::object record = WriteRecord(from, fields);
  record["metadata"] = WriteRecord(from.metadata, kMetadataFields<Metadata>);
  return record;
}

template <typename Struct, typename Fields>
void ReadWithMetadata(const json::object& record, const Fields& fields, Struct& to) {
  using Metadata = decltype(to.metadata);
  ReadRecord(record, fields, to);
  ReadRecord(record.at("metadata").as_object(), kMetadataFields<Metadata>, to.metadata);
}

template <typename Session>
constexpr auto kSessionFields =
    std::tuple{RecordField{"length", &Session::length}, RecordField{"parts", &Session::parts},
               RecordField{"videoId", &Session::videoId}};

template <typename Form>
constexpr auto kFormFields = std::tuple{RecordField{"token", &Form::token}};

}  // namespace

std::optional<json::object> Youtube::Save(const RecordId& id) const {
  if (id.first == "video") {
    const auto video = std::ranges::find(videos_, id.second, &Video::id);
    if (video != videos_.end()) return WithMetadata(*video, kVideoFields<Video>);
  }
  if (id.first == "session") {
    const auto session = sessions_.find(id.second);
    if (session == sessions_.end()) return std::nullopt;
    return WithMetadata(session->second, kSessionFields<Session>);
  }
  if (id.first == "form") {
    const auto form = formUploads_.find(id.second);
    if (form != formUploads_.end()) return WithMetadata(form->second, kFormFields<FormUpload>);
  }
  return std::nullopt;
}

void Youtube::Load(const RecordId& id, const json::object& record) {
  if (id.first == "video") {
    ReadWithMetadata(record, kVideoFields<Video>, videos_.emplace_back());
    KeepNewest(videos_);
  }
  if (id.first == "session") ReadWithMetadata(record, kSessionFields<Session>, sessions_[id.second]);
  if (id.first == "form") ReadWithMetadata(record, kFormFields<FormUpload>, formUploads_[id.second]);
}

const Piece* Youtube::FindPiece(const std::string& id) const {
  const auto [upload, number] = SplitPieceId(id);
  const auto session = sessions_.find(upload);
  return session == sessions_.end() ? nullptr : PieceAt(session->second.pieces, number);
}

void Youtube::AddPiece(const std::string& id, const Piece& piece) {
  const auto [upload, number] = SplitPieceId(id);
  const auto session = sessions_.find(upload);
  if (session != sessions_.end()) Append(session->second.pieces, number, piece);
}

}  // namespace velk::sandbox
