// The exports for upload handles and for the proxy setting.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/records.h"

namespace velk::test {
namespace {

using Progress = int32_t (*)(const FileUploader*, double*, double*);
using Init = FileUploader* (*)();
using OnHandle = int32_t (*)(FileUploader*);

TEST(Uploader, TwitterAndFacebookNamesReferToTheSameFunction) {
  EXPECT_EQ(Init{InitFacebookFileUploder}, Init{InitTwitterFileUploder});
  EXPECT_EQ(Progress{GetFacebookUploadFileProgress}, Progress{GetTwitterUploadFileProgress});
  EXPECT_EQ(OnHandle{CancelFacebookUploadFile}, OnHandle{CancelTwitterUploadFile});
  EXPECT_EQ(OnHandle{UninitFacebookFileUploder}, OnHandle{UninitTwitterFileUploder});
}

TEST(Uploader, RejectsNullPointers) {
  FileUploader uploader{1, 2, 1, 0};
  double figure = 0;
  ExpectRequired<0, 1, 2>("Facebook's progress", GetFacebookUploadFileProgress, &uploader, &figure, &figure);
  ExpectRequired<0, 1, 2>("YouTube's progress", GetYoutubeUploadFileProgress, &uploader, &figure, &figure);
  ExpectRequired<0>("CancelFacebookUploadFile", CancelFacebookUploadFile, &uploader);
  ExpectRequired<0>("CancelYoutubeUploadFile", CancelYoutubeUploadFile, &uploader);
  ExpectRequired<0>("UninitFacebookFileUploder", UninitFacebookFileUploder, &uploader);
  ExpectRequired<0>("UninitYoutubeFileUploder", UninitYoutubeFileUploder, &uploader);
}

TEST(Uploader, TracksItsState) {
  FileUploader* uploader = InitTwitterFileUploder();
  ASSERT_NE(uploader, nullptr);
  EXPECT_EQ(uploader->uploadedBytes, 0);
  EXPECT_EQ(uploader->totalBytes, 0);
  EXPECT_EQ(uploader->state, 0U);
  EXPECT_EQ(uploader->cancelRequested, 0U);

  double uploaded = -1;
  double total = -1;
  EXPECT_EQ(GetTwitterUploadFileProgress(uploader, &uploaded, &total), VELK_UNEXPECTED_REPLY);
  EXPECT_EQ(uploaded, -1);
  EXPECT_EQ(total, -1);

  *uploader = {12.5, 99, 1, 0};
  EXPECT_EQ(GetTwitterUploadFileProgress(uploader, &uploaded, &total), VELK_OK);
  EXPECT_EQ(uploaded, 12.5);
  EXPECT_EQ(total, 99);
  EXPECT_EQ(UninitTwitterFileUploder(uploader), VELK_BUSY);

  EXPECT_EQ(CancelTwitterUploadFile(uploader), VELK_OK);
  EXPECT_EQ(uploader->cancelRequested, 1U);
  EXPECT_EQ(uploader->state, 1U);
  uploader->state = 0;
  EXPECT_EQ(UninitTwitterFileUploder(uploader), VELK_OK);
}

TEST(YoutubeUploader, TracksItsState) {
  FileUploader* uploader = InitYoutubeFileUploder();
  ASSERT_NE(uploader, nullptr);
  double uploaded = -1;
  double total = -1;
  for (const uint32_t state : {0U, 1U, 4U}) {
    uploader->state = state;
    EXPECT_EQ(GetYoutubeUploadFileProgress(uploader, &uploaded, &total), VELK_NOT_UPLOADING);
    EXPECT_EQ(CancelYoutubeUploadFile(uploader), VELK_NOT_UPLOADING);
    EXPECT_EQ(uploader->state, state);
  }
  EXPECT_EQ(uploaded, -1);

  *uploader = {5, 6, 2, 0};
  EXPECT_EQ(UninitYoutubeFileUploder(uploader), VELK_BUSY);
  EXPECT_EQ(GetYoutubeUploadFileProgress(uploader, &uploaded, &total), VELK_OK);
  EXPECT_EQ(uploaded, 5);
  EXPECT_EQ(total, 6);
  EXPECT_EQ(CancelYoutubeUploadFile(uploader), VELK_OK);
  EXPECT_EQ(uploader->state, 4U);
  EXPECT_EQ(uploader->cancelRequested, 0U);
  EXPECT_EQ(UninitYoutubeFileUploder(uploader), VELK_OK);
}

std::string ReadProxy() {
  char text[256];
  std::memset(text, '#', sizeof text);
  const int32_t size = sizeof text;
  EXPECT_EQ(GetLibVelkUploadProxy(text, &size), VELK_OK);
  EXPECT_EQ(size, 256);
  return text;
}

TEST(Proxy, IsReplacedCompletelyAndTruncatedAt255Bytes) {
  const std::pair<const char*, std::string> rows[] = {
      {"http://127.0.0.1:8080", "http://127.0.0.1:8080"},
      {"a:1", "a:1"},
      {"", ""},
      {nullptr, ""},
  };
  for (const auto& [set, read] : rows) {
    EXPECT_EQ(SetLibVelkUploadProxy(set), VELK_OK);
    EXPECT_EQ(ReadProxy(), read);
  }
  for (const size_t length : {255U, 256U, 5000U}) {
    SetLibVelkUploadProxy(std::string(length, 'p').c_str());
    EXPECT_EQ(ReadProxy(), std::string(255, 'p'));
  }
  SetLibVelkUploadProxy("");
}

TEST(Proxy, RequiresABufferForTheWholeSetting) {
  SetLibVelkUploadProxy("");
  char text[256] = "untouched";
  int32_t size = 255;
  EXPECT_EQ(GetLibVelkUploadProxy(text, &size), VELK_BUFFER_TOO_SMALL);
  size = -1;
  EXPECT_EQ(GetLibVelkUploadProxy(text, &size), VELK_BUFFER_TOO_SMALL);
  EXPECT_STREQ(text, "untouched");
  ExpectRequired<0, 1>("GetLibVelkUploadProxy", GetLibVelkUploadProxy, text, &size);
}

}  // namespace
}  // namespace velk::test
