// The internals of src/core: the reply buffer, the read and progress callbacks, and fixed-width strings.
#include "core/core.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>
#include <new>
#include <system_error>

#include "support/files.h"

namespace velk {
namespace {

TEST(ResponseBuffer, AppendsPiecesAndStaysTerminated) {
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
  EXPECT_STREQ(reply.Text(), "abcd") << "string functions stop at a NUL in the body";
}

TEST(ResponseBuffer, RejectsDataAndStaysUnchanged) {
  constexpr auto kRejected = static_cast<size_t>(-1);
  char bytes[] = "xyz";
  EXPECT_EQ(ResponseBufferAppend(bytes, 1, 3, nullptr), kRejected);

  ResponseBuffer reply;
  ResponseBufferAppend(bytes, 1, 3, &reply);
  const char* before = reply.data;
  EXPECT_EQ(ResponseBufferAppend(bytes, 1, std::numeric_limits<size_t>::max() / 2, &reply), kRejected);
  EXPECT_EQ(reply.data, before);
  EXPECT_EQ(reply.size, 3U);

  // A buffer can still receive data after its initial allocation failed.
  ResponseBuffer empty;
  std::free(empty.data);
  empty.data = nullptr;
  EXPECT_STREQ(empty.Text(), "");
  EXPECT_EQ(ResponseBufferAppend(bytes, 1, 3, &empty), 3U);
  EXPECT_STREQ(empty.Text(), "xyz");
}

TEST(ResponseBuffer, HoldsAtMostFourMebibytes) {
  ResponseBuffer reply;
  std::string piece(1 << 20, 'x');
  for (int index = 0; index < 4; ++index)
    ASSERT_EQ(ResponseBufferAppend(piece.data(), 1, piece.size(), &reply), piece.size());
  const char* const before = reply.data;
  EXPECT_EQ(ResponseBufferAppend(piece.data(), 1, 1, &reply), static_cast<size_t>(-1));
  EXPECT_EQ(reply.data, before);
  EXPECT_EQ(reply.size, uint64_t{4} << 20);
}

TEST(Guarded, ConvertsEveryExceptionToACode) {
  EXPECT_EQ(Guarded([]() -> int32_t { throw std::bad_alloc(); }), VELK_OUT_OF_MEMORY);
  EXPECT_EQ(Guarded([]() -> int32_t { throw std::system_error(std::make_error_code(std::errc::io_error)); }),
            VELK_OUT_OF_MEMORY);
  EXPECT_EQ(Guarded([]() -> int32_t { throw 42; }), VELK_OUT_OF_MEMORY);
}

TEST(UploadProgress, StoresReportsAndObeysACancel) {
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
  EXPECT_EQ(uploader.cancelRequested, 5U) << "the cancel request persists";
}

TEST(UploadFile, AcceptsRegularFilesOnly) {
  const test::TempFile file("\xE8\xA7\x86\xE9\xA2\x91 \xC3\xA9.bin", "0123456789");
  UploadFile upload(WidenPath(file.Path()));
  ASSERT_TRUE(upload);
  EXPECT_EQ(upload.Size(), 10);
  std::array<char, 16> read{};
  EXPECT_EQ(FileReadCallback(read.data(), 4, 3, upload.Stream()), 2U)
      << "counts whole items only, like fread";
  EXPECT_EQ(std::string(read.data(), 10), "0123456789");
  EXPECT_EQ(FileReadCallback(read.data(), 1, 16, upload.Stream()), 0U);

  EXPECT_FALSE(UploadFile(WidenPath(file.Path() + ".none")));
  EXPECT_FALSE(UploadFile(WidenPath("")));
  const std::string folder = file.Path().substr(0, file.Path().find_last_of("/\\"));
  EXPECT_FALSE(UploadFile(WidenPath(folder))) << "a folder is not a file";
  // Neither is a device, under any of its names. A name that the platform does not know is a missing file.
  for (const char* device : {"/dev/null", "/dev/zero", "NUL", "nul.mp4", "C:\\NUL", "CONIN$", "\\\\.\\NUL"})
    EXPECT_FALSE(UploadFile(WidenPath(device))) << device;
}

TEST(Text, StaysWithinFieldsAndBuffers) {
  const char full[4] = {'a', 'b', 'c', 'd'};
  EXPECT_EQ(Field(full), "abcd");
  const char ended[4] = {'a', '\0', 'c', 'd'};
  EXPECT_EQ(Field(ended), "a");

  char buffer[4] = {'#', '#', '#', '#'};
  CopyText("abcdef", {buffer, 3});
  EXPECT_EQ(std::memcmp(buffer, "ab\0#", 4), 0);
  CopyText("xyz", {buffer, 0});
  EXPECT_EQ(buffer[0], 'a');
}

}  // namespace
}  // namespace velk
