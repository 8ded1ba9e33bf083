// The frame's inner pieces: the reply's collector, the read and progress callbacks, texts within their width.
#include "core/core.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>
#include <new>
#include <system_error>

#include "support/sandbox.h"

namespace velk {
namespace {

TEST(ResponseBuffer, GrowsByPiecesAndStaysTerminated) {
  ResponseBuffer reply;
  ASSERT_NE(reply.data, nullptr);
  EXPECT_EQ(reply.data[0], '\0');
  EXPECT_EQ(reply.size, 0U);

  char first[] = {'a', 'b', 'c'};
  char second[] = {'d', '\0', 'f', 'g'};
  EXPECT_EQ(ResponseBufferAppend(first, 1, 3, &reply), 3U);
  EXPECT_EQ(ResponseBufferAppend(second, 2, 2, &reply), 4U);
  EXPECT_EQ(ResponseBufferAppend(second, 1, 0, &reply), 0U);
  EXPECT_EQ(reply.size, 7U);
  EXPECT_EQ(std::memcmp(reply.data, "abcd\0fg", 8), 0);
  EXPECT_STREQ(reply.Text(), "abcd") << "string functions end at a NUL in the body";
}

TEST(ResponseBuffer, RefusesAndStaysAsItWas) {
  constexpr auto kRefused = static_cast<size_t>(-1);
  char bytes[] = "xyz";
  EXPECT_EQ(ResponseBufferAppend(bytes, 1, 3, nullptr), kRefused);

  ResponseBuffer reply;
  ResponseBufferAppend(bytes, 1, 3, &reply);
  const char* before = reply.data;
  EXPECT_EQ(ResponseBufferAppend(bytes, 1, std::numeric_limits<size_t>::max() / 2, &reply), kRefused);
  EXPECT_EQ(reply.data, before);
  EXPECT_EQ(reply.size, 3U);

  // A buffer that found no memory for its first byte takes up its text all the same.
  ResponseBuffer empty;
  std::free(empty.data);
  empty.data = nullptr;
  EXPECT_STREQ(empty.Text(), "");
  EXPECT_EQ(ResponseBufferAppend(bytes, 1, 3, &empty), 3U);
  EXPECT_STREQ(empty.Text(), "xyz");
}

TEST(ResponseBuffer, HoldsFourMebibytesAndNoMore) {
  ResponseBuffer reply;
  std::string piece(1 << 20, 'x');
  for (int index = 0; index < 4; ++index)
    ASSERT_EQ(ResponseBufferAppend(piece.data(), 1, piece.size(), &reply), piece.size());
  const char* const before = reply.data;
  EXPECT_EQ(ResponseBufferAppend(piece.data(), 1, 1, &reply), static_cast<size_t>(-1));
  EXPECT_EQ(reply.data, before);
  EXPECT_EQ(reply.size, uint64_t{4} << 20);
}

TEST(Guarded, LetsNoExceptionOut) {
  EXPECT_EQ(Guarded([]() -> int32_t { throw std::bad_alloc(); }), VELK_OUT_OF_MEMORY);
  EXPECT_EQ(Guarded([]() -> int32_t { throw std::system_error(std::make_error_code(std::errc::io_error)); }),
            VELK_OUT_OF_MEMORY);
  EXPECT_EQ(Guarded([]() -> int32_t { throw 42; }), VELK_OUT_OF_MEMORY);
}

TEST(UploadProgress, StoresReportsAndObeysTheHandle) {
  EXPECT_NE(UploadProgressCallback(nullptr, 0, 0, 0, 0), 0);

  FileUploader uploader{};
  EXPECT_EQ(UploadProgressCallback(&uploader, 7, 8, 100, 40), 0);
  EXPECT_EQ(uploader.totalBytes, 100);
  EXPECT_EQ(uploader.uploadedBytes, 40);
  EXPECT_EQ(uploader.state, 1U);

  uploader.cancelRequested = 5;
  EXPECT_NE(UploadProgressCallback(&uploader, 0, 0, 200, 80), 0);
  EXPECT_EQ(uploader.state, 0U);
  EXPECT_EQ(uploader.totalBytes, 100) << "an aborted report stores nothing";
  EXPECT_EQ(uploader.cancelRequested, 5U) << "a cancel is for good";
}

TEST(UploadFile, MeasuresReadsAndRefuses) {
  const test::TempFile file("\xE8\xA7\x86\xE9\xA2\x91 \xC3\xA9.bin", "0123456789");
  UploadFile upload(WidenPath(file.Path()));
  ASSERT_TRUE(upload);
  EXPECT_EQ(upload.Size(), 10);
  std::array<char, 16> read{};
  EXPECT_EQ(FileReadCallback(read.data(), 4, 3, upload.Stream()), 2U) << "whole items only, as fread counts";
  EXPECT_EQ(std::string(read.data(), 10), "0123456789");
  EXPECT_EQ(FileReadCallback(read.data(), 1, 16, upload.Stream()), 0U);

  EXPECT_FALSE(UploadFile(WidenPath(file.Path() + ".none")));
  EXPECT_FALSE(UploadFile(WidenPath("")));
  const std::string folder = file.Path().substr(0, file.Path().find_last_of("/\\"));
  EXPECT_FALSE(UploadFile(WidenPath(folder))) << "a folder is no file";
  // A device is none either, under any of its names. What one system does not know is not there on it.
  for (const char* device : {"/dev/null", "/dev/zero", "NUL", "nul.mp4", "C:\\NUL", "CONIN$", "\\\\.\\NUL"})
    EXPECT_FALSE(UploadFile(WidenPath(device))) << device;
}

TEST(Text, StaysInsideFieldsAndBuffers) {
  const char full[4] = {'a', 'b', 'c', 'd'};
  EXPECT_EQ(Field(full), "abcd");
  const char ended[4] = {'a', '\0', 'c', 'd'};
  EXPECT_EQ(Field(ended), "a");

  char room[4] = {'#', '#', '#', '#'};
  CopyText("abcdef", {room, 3});
  EXPECT_EQ(std::memcmp(room, "ab\0#", 4), 0);
  CopyText("xyz", {room, 0});
  EXPECT_EQ(room[0], 'a');
}

}  // namespace
}  // namespace velk
