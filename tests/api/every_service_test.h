// What tests of several services start from: a filled record for each kind of upload, all of one small file.
#pragma once

#include <string>

#include "api/twitter_test.h"

namespace velk::test {

class EveryServiceTest : public TwitterTest {
 protected:
  explicit EveryServiceTest(const std::string& content) : photo("photo.png", Png(content)) {
    const std::string path = photo.Path();
    const size_t name = path.find_last_of("/\\") + 1;
    Fill(tweet.folderPath, path.substr(0, name - 1));
    Fill(tweet.fileName, path.substr(name));
    Fill(tweet.statusText, "look");
    Fill(post.filePath, path);
    for (char* field : {post.title, post.description, video.title, video.description}) *field = 'x';
    Fill(post.privacy, "SELF");
    Fill(video.filePath, path);
    Fill(video.privacyStatus, "private");
    Fill(video.categoryId, "22");
  }

  int32_t Update(uint32_t kind, const std::string& objectId) {
    post.updateKind = kind;
    return SetFacebookUpdateInfo("token", objectId.c_str(), &post);
  }

  TempFile photo;
  FileUploader uploader{};
  TwitterUploadFile tweet{};
  FacebookUploadInfo post{};
  YoutubeUploadInfo video{};
  char text[2048] = "";
};

}  // namespace velk::test
