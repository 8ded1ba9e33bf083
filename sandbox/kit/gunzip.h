// Expands a body that a client compressed with gzip, while it arrives.
#pragma once

#include <boost/beast/zlib/inflate_stream.hpp>
#include <boost/crc.hpp>
#include <cstdint>
#include <string>
#include <string_view>

namespace velk::sandbox {

class Gunzip {
 public:
  std::string Expand(std::string_view bytes);  // throws BadRequest on what is no gzip
  // Whether all of it was there. Also true for an empty body.
  bool Complete() const { return head_.empty() || trailer_.size() == kTrailerSize; }

 private:
  static constexpr std::size_t kTrailerSize = 8;

  bool SkipHead(std::string_view& bytes);
  std::string Inflate(std::string_view& bytes);
  void ReadTrailer(std::string_view bytes);

  std::string head_;  // until it is complete
  bool headRead_ = false, inflated_ = false;
  std::uint64_t size_ = 0;  // once expanded
  boost::crc_32_type checksum_;
  std::string trailer_;
  boost::beast::zlib::inflate_stream stream_;
};

}  // namespace velk::sandbox
