// What Twitter stores, as records that outlive the process.
#include <algorithm>

#include "kit/record.h"
#include "services/twitter/twitter.h"

namespace velk::sandbox {

namespace json = boost::json;

namespace {

template <typename Token>
constexpr auto kTokenFields =
    std::tuple{RecordField{"secret", &Token::secret}, RecordField{"callback", &Token::callback},
               RecordField{"verifier", &Token::verifier}, RecordField{"agreed", &Token::agreed}};

template <typename Nonce>
constexpr auto kNonceFields =
    std::tuple{RecordField{"timestamp", &Nonce::timestamp}, RecordField{"consumerKey", &Nonce::consumerKey},
               RecordField{"tokenKey", &Nonce::tokenKey}, RecordField{"nonce", &Nonce::nonce}};

template <typename Media>
constexpr auto kMediaFields = std::tuple{
    RecordField{"type", &Media::type},
    RecordField{"category", &Media::category},
    RecordField{"totalBytes", &Media::totalBytes},
    RecordField{"complete", &Media::complete},
    RecordField{"stepsLeft", &Media::stepsLeft},
    RecordField{"failed", &Media::failed},
    RecordField{"sha256", &Media::sha256},
    RecordField{"file", &Media::file},
    RecordField{"altText", &Media::altText},
    RecordField{"subtitles", &Media::subtitles},
};

template <typename Tweet>
constexpr auto kTweetFields = std::tuple{
    RecordField{"id", &Tweet::id},
    RecordField{"text", &Tweet::text},
    RecordField{"mediaIds", &Tweet::mediaIds},
    RecordField{"user", &Tweet::user},
    RecordField{"replyTo", &Tweet::replyTo},
    RecordField{"quoted", &Tweet::quoted},
    RecordField{"created", &Tweet::created},
};

template <typename Struct, typename Map, typename Fields>
std::optional<json::object> SaveFrom(const Map& map, const std::string& id, const Fields& fields) {
  const auto found = map.find(id);
  if (found == map.end()) return std::nullopt;
  return WriteRecord<Struct>(found->second, fields);
}

}  // namespace

std::optional<json::object> Twitter::Save(const RecordId& id) const {
  if (id.first == "count")
    return json::object{{"lastId", lastId_}, {"verified", verified_}, {"refused", refused_}};
  if (id.first == "signIn")
    return SaveFrom<RequestToken>(requestTokens_, id.second, kTokenFields<RequestToken>);
  if (id.first == "media") {
    auto record = SaveFrom<Media>(media_, id.second, kMediaFields<Media>);
    if (record) (*record)["init"] = WriteRecord(media_.at(id.second).nonce, kNonceFields<Nonce>);
    return record;
  }
  if (id.first == "tweet") {
    const auto found = std::ranges::find(tweets_, id.second, &Tweet::id);
    if (found != tweets_.end()) return WriteRecord(*found, kTweetFields<Tweet>);
  }
  if (id.first == "nonce") {
    const std::string timestamp = id.second.substr(0, id.second.find(' '));
    for (auto found = nonces_.lower_bound({timestamp}); found != nonces_.end(); ++found) {
      if (found->timestamp != timestamp) break;
      if (found->Id() == id.second) return WriteRecord(*found, kNonceFields<Nonce>);
    }
  }
  return std::nullopt;
}

void Twitter::Load(const RecordId& id, const json::object& record) {
  if (id.first == "count") {
    lastId_ = record.at("lastId").to_number<std::uint64_t>();
    verified_ = record.at("verified").to_number<std::uint64_t>();
    refused_ = record.at("refused").to_number<std::uint64_t>();
  }
  if (id.first == "signIn") ReadRecord(record, kTokenFields<RequestToken>, requestTokens_[id.second]);
  if (id.first == "media") {
    Media& media = media_[id.second];
    ReadRecord(record, kMediaFields<Media>, media);
    ReadRecord(record.at("init").as_object(), kNonceFields<Nonce>, media.nonce);
  }
  if (id.first == "tweet") {
    ReadRecord(record, kTweetFields<Tweet>, tweets_.emplace_back());
    KeepNewest(tweets_);
  }
  if (id.first == "nonce") {
    Nonce nonce;
    ReadRecord(record, kNonceFields<Nonce>, nonce);
    if (nonce.timestamp >= twitter::OldestNonce()) nonces_.insert(std::move(nonce));
  }
}

const Piece* Twitter::FindPiece(const std::string& id) const {
  const auto [upload, number] = SplitPieceId(id);
  const auto media = media_.find(upload);
  if (media == media_.end()) return nullptr;
  const auto segment = media->second.segments.find(static_cast<int>(number));
  return segment == media->second.segments.end() ? nullptr : &segment->second;
}

void Twitter::AddPiece(const std::string& id, const Piece& piece) {
  const auto [upload, number] = SplitPieceId(id);
  const auto media = media_.find(upload);
  if (media != media_.end()) media->second.segments[static_cast<int>(number)] = piece;
}

}  // namespace velk::sandbox
