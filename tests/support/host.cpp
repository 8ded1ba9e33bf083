#include "support/host.h"

#include <algorithm>
#include <stdexcept>

namespace velk::test {
namespace {

int32_t Update(Host& host, uint32_t kind) {
  host.post.updateKind = kind;
  return SetFacebookUpdateInfo(host.accessToken.c_str(), host.objectId.c_str(), &host.post);
}

constexpr Call kCalls[] = {
    {"ExangeFacebookAccessToken",
     [](Host& host) {
       return ExangeFacebookAccessToken("app", "sec&ret", host.accessToken.c_str(), host.text, &host.length,
                                        &host.lifetime);
     }},
    {"CheckFacebookAccessTokenValid",
     [](Host& host) { return CheckFacebookAccessTokenValid("app", host.accessToken.c_str(), &host.valid); }},
    {"GetFacebookUserNameEmail",
     [](Host& host) {
       return GetFacebookUserNameEmail(host.accessToken.c_str(), host.text, nullptr, host.email, nullptr);
     }},
    {"GetFacebookUserPagesList",
     [](Host& host) {
       return GetFacebookUserPagesList(host.accessToken.c_str(), &host.pages, &host.pageCount);
     }},
    {"StartFacebookUploadVideo",
     [](Host& host) {
       return StartFacebookUploadVideo(&host.uploader, host.accessToken.c_str(), &host.post, host.text);
     }},
    {"StartFacebookUploadPhoto",
     [](Host& host) {
       return StartFacebookUploadPhoto(&host.uploader, host.accessToken.c_str(), &host.post, host.text);
     }},
    {"PostFacebookComment",
     [](Host& host) { return PostFacebookComment(host.accessToken.c_str(), &host.post, host.text); }},
    {"GetFacebookPhotoUrl",
     [](Host& host) {
       return GetFacebookPhotoUrl(host.accessToken.c_str(), host.objectId.c_str(), host.text, nullptr);
     }},
    {"GetFacebookVideoEmbedUrl",
     [](Host& host) {
       return GetFacebookVideoEmbedUrl(host.accessToken.c_str(), host.objectId.c_str(), host.text, nullptr);
     }},
    {"SetFacebookUpdateInfo message", [](Host& host) { return Update(host, 0); }},
    {"SetFacebookUpdateInfo privacy and message", [](Host& host) { return Update(host, 1); }},
    {"SetFacebookUpdateInfo description", [](Host& host) { return Update(host, 2); }},
    {"GetTwitterOauthUrl",
     [](Host& host) {
       return GetTwitterOauthUrl(host.consumer.consumerKey, host.consumer.consumerSecret, nullptr, host.text);
     },
     true},
    {"GetTwitterAccessToken", [](Host& host) { return GetTwitterAccessToken(&host.signIn, &host.signedIn); },
     true},
    {"PostTwitterComment",
     [](Host& host) { return PostTwitterComment(&host.consumer, &host.user, "text", ""); }, true},
    {"StartTwitterUploadPhoto",
     [](Host& host) {
       return StartTwitterUploadPhoto(&host.uploader, &host.consumer, &host.user, &host.tweet);
     },
     true},
    {"StartYoutubeUploadFile",
     [](Host& host) {
       return StartYoutubeUploadFile(&host.uploader, host.accessToken.c_str(), &host.video, host.text);
     }},
    {"SetYoutubeUploadFileUpdateInfo",
     [](Host& host) {
       return SetYoutubeUploadFileUpdateInfo(host.accessToken.c_str(), host.objectId.c_str(), &host.video);
     }},
};

}  // namespace

Host::Host(const std::string& filePath) {
  Fill(post.targetId, "104000000000001");
  Fill(post.filePath, filePath);
  Fill(post.title, "a");
  Fill(post.description, "about a");
  Fill(post.privacy, "SELF");
  Fill(video.filePath, filePath);
  Fill(video.title, "a");
  Fill(video.description, "about a");
  Fill(video.privacyStatus, "private");
  Fill(video.categoryId, "22");
  Fill(video.tags, "x\ny");
  FillPath(tweet, filePath);
  Fill(tweet.statusText, "look");
}

std::span<const Call> Calls() { return kCalls; }

const Call& CallNamed(std::string_view name) {
  const auto found = std::ranges::find_if(kCalls, [name](const Call& call) { return call.name == name; });
  if (found == std::end(kCalls)) throw std::out_of_range(std::string(name));
  return *found;
}

}  // namespace velk::test
