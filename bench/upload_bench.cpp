// Times one upload through the library, and measures the peak memory of two uploads above that of the idle
// process. The first peak includes pages of the TLS libraries that a process loads only once.
//
// Usage: upload_bench SERVICE PROXY FILE
//
// Prints the time of the first call in seconds, then both peaks in KiB.
#include <malloc.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>

#include "velk_upload.h"

namespace {

// Reads one of the kernel's memory figures for this process, in KiB.
long MemoryFigure(std::string_view name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.starts_with(name)) return std::stol(line.substr(name.size() + 1));
  return 0;
}

template <size_t width>
void Fill(char (&field)[width], const char* text) {
  std::snprintf(field, width, "%s", text);
}

int32_t UploadToYoutube(const char* file) {
  const auto info = std::make_unique<YoutubeUploadInfo>();
  Fill(info->filePath, file);
  Fill(info->title, "title");
  Fill(info->description, "description");
  Fill(info->privacyStatus, "private");
  Fill(info->categoryId, "22");
  char videoId[256];
  return StartYoutubeUploadFile(InitYoutubeFileUploder(), "token", info.get(), videoId);
}

std::unique_ptr<FacebookUploadInfo> FacebookInfo(const char* file) {
  auto info = std::make_unique<FacebookUploadInfo>();
  Fill(info->filePath, file);
  Fill(info->title, "title");
  Fill(info->description, "description");
  Fill(info->privacy, "SELF");
  return info;
}

int32_t UploadToFacebook(const char* file) {
  char videoId[1024];
  return StartFacebookUploadVideo(InitFacebookFileUploder(), "token", FacebookInfo(file).get(), videoId);
}

int32_t UploadPhotoToFacebook(const char* file) {
  char postId[1024];
  return StartFacebookUploadPhoto(InitFacebookFileUploder(), "token", FacebookInfo(file).get(), postId);
}

int32_t UploadToTwitter(const char* file) {
  const auto consumer = std::make_unique<TwitterConsumer>(TwitterConsumer{"key", "secret"});
  const auto token = std::make_unique<TwitterAccessToken>(TwitterAccessToken{"token", "secret", "1", "name"});
  const auto photo = std::make_unique<TwitterUploadFile>();
  const std::string path = file;
  const size_t separator = path.rfind('/');
  Fill(photo->folderPath, path.substr(0, separator).c_str());
  Fill(photo->fileName, path.substr(separator + 1).c_str());
  Fill(photo->statusText, "text");
  return StartTwitterUploadPhoto(InitTwitterFileUploder(), consumer.get(), token.get(), photo.get());
}

struct Service {
  const char* name;
  int32_t (*upload)(const char* file);
};

constexpr Service kServices[] = {{"facebook", UploadToFacebook},
                                 {"facebook-photo", UploadPhotoToFacebook},
                                 {"twitter", UploadToTwitter},
                                 {"youtube", UploadToYoutube}};

// Uploads once; `taken` receives the duration and `peak` the rise in memory.
int32_t Measure(const Service& service, const char* file, std::chrono::duration<double>& taken, long& peak) {
  malloc_trim(0);
  std::ofstream("/proc/self/clear_refs") << "5";  // resets the peak
  const long idle = MemoryFigure("VmRSS:");
  const auto began = std::chrono::steady_clock::now();
  const int32_t result = service.upload(file);
  taken = std::chrono::steady_clock::now() - began;
  peak = MemoryFigure("VmHWM:") - idle;
  return result;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  for (const Service& service : kServices) {
    if (std::strcmp(service.name, argv[1]) != 0) continue;
    SetLibVelkUploadProxy(argv[2]);
    std::chrono::duration<double> first, second;
    long firstPeak = 0, secondPeak = 0;
    if (Measure(service, argv[3], first, firstPeak) != VELK_OK) return 1;
    if (Measure(service, argv[3], second, secondPeak) != VELK_OK) return 1;
    std::printf("%.6f %ld %ld\n", first.count(), firstPeak, secondPeak);
    return 0;
  }
  return 2;
}
