// Publishing to YouTube, and changing what was published.
#include <array>

#include "call.h"
#include "encoding.h"
#include "failure.h"
#include "meta.h"
#include "options.h"
#include "publish_files.h"
#include "record.h"
#include "secrets.h"

namespace velk::publish {
namespace {

constexpr std::size_t kVideoIdCapacity = 256;
constexpr std::size_t kLongestTitle = 100;  // characters, for YouTube

constexpr HandleFunctions kHandle{InitYoutubeFileUploder, UninitYoutubeFileUploder,
                                  GetYoutubeUploadFileProgress, CancelYoutubeUploadFile};

constexpr SecretSource kToken{"access token", "--token-file", "VELK_YOUTUBE_TOKEN", "youtube.token"};

const std::vector<std::string> kPrivacies{"public", "private", "unlisted"};

// The categories of YouTube, by number.
const std::vector<std::string> kCategories{"1",  "2",  "10", "15", "17", "18", "19", "20", "21", "22", "23",
                                           "24", "25", "26", "27", "28", "29", "30", "31", "32", "33", "34",
                                           "35", "36", "37", "38", "39", "40", "41", "42", "43", "44"};

const Choices kChoices{{"privacy", kPrivacies}, {"category", kCategories}};

void CheckTitle(const std::string& title) {
  if (const std::size_t count = CharacterCount(title); count > kLongestTitle)
    throw UsageError("the title is too long: " + std::to_string(count) +
                     " characters, and YouTube takes at most 100");
}

std::string JoinedTags(const std::vector<std::string>& tags) {
  std::string joined;
  for (const std::string& tag : tags) {
    if (tag.empty() || tag.find('\n') != tag.npos) throw UsageError("a tag is empty or has a line end");
    joined += (joined.empty() ? "" : "\n") + YoutubeText(tag);
  }
  return joined;
}

std::string Required(const std::optional<std::string>& value, const char* option) {
  if (!value || value->empty()) throw UsageError(std::string(option) + " is required, and must not be empty");
  return *value;
}

YoutubeUploadInfo Describe(const Options& options) {
  YoutubeUploadInfo info{};
  const std::string title = Required(options.title, "--title");
  CheckTitle(title);
  SetField(info.title, YoutubeText(title), "title");
  SetField(info.description, YoutubeText(Required(options.description, "--description")), "description");
  SetField(info.privacyStatus, Required(options.privacy, "--privacy"), "privacy");
  SetField(info.categoryId, Required(options.category, "--category"), "category");
  SetField(info.tags, JoinedTags(options.tags), "list of tags");
  return info;
}

Outcome UploadOne(const YoutubeUploadInfo& described, const std::string& token, const std::string& path,
                  std::uint64_t size, const Options& options) {
  std::array<char, kVideoIdCapacity> id{};
  const auto run = [&](FileUploader* uploader) {
    YoutubeUploadInfo info = described;  // the call rewrites it
    SetField(info.filePath, path, "path");
    return StartYoutubeUploadFile(uploader, token.c_str(), &info, id.data());
  };
  Outcome outcome = Perform(
      {.kind = CallKind::kYoutubeUpload, .run = run, .handle = &kHandle, .file = path, .fileSize = size},
      options);
  outcome.id = id.data();
  outcome.remark = "Published " + path + " to YouTube.";
  return outcome;
}

int Upload(const Options& given) {
  Options options = given;
  AddMetadata(options, kChoices);
  if (!options.privacy) options.privacy = "private";
  if (!options.category) options.category = "22";
  const YoutubeUploadInfo info = Describe(options);
  const std::string token = ReadSecret(options, options.tokenFile, kToken);
  return PublishFiles(CallKind::kYoutubeUpload, options, [&](const std::string& path, std::uint64_t size) {
    return UploadOne(info, token, path, size, options);
  });
}

int Update(const Options& given) {
  Options options = given;
  AddMetadata(options, kChoices);
  if (options.tags.empty() && !options.noTags)
    throw UsageError("an update replaces the tags: give each --tag, or --no-tags to remove all");
  YoutubeUploadInfo info = Describe(options);
  const std::string token = ReadSecret(options, options.tokenFile, kToken);
  Outcome outcome = Perform(CallKind::kYoutubeUpdate, options, [&] {
    YoutubeUploadInfo copy = info;
    return SetYoutubeUploadFileUpdateInfo(token.c_str(), YoutubeText(options.id).c_str(), &copy);
  });
  outcome.id = options.id;
  outcome.remark = "Changed on YouTube.";
  return ReportOne(CallKind::kYoutubeUpdate, options, outcome);
}

void AddDescription(CLI::App& app, Options& options) {
  AddToken(app, options, kToken.variable);
  AddValue(app, "--title", options.title, "The title, at most 100 characters");
  AddValue(app, "--description", options.description, "The description");
  AddValue(app, "--meta", options.meta, "File of JSON with title, description, privacy, category and tags")
      ->type_name("FILE");
  app.add_option("--tag", options.tags, "A tag; may be given several times")
      ->allow_extra_args(false)
      ->type_name("TEXT");
}

void AddUploadOptions(CLI::App& app, Options& options) {
  AddDescription(app, options);
  AddChoice(app, "--privacy", options.privacy, kPrivacies, "Who can see it (default: private)");
  AddChoice(app, "--category", options.category, kCategories,
            "The number of the category, such as 28 for science (default: 22, people)");
  AddFiles(app, options, "The videos");
}

// An update replaces everything, so that nothing has a default.
void AddUpdateOptions(CLI::App& app, Options& options) {
  AddDescription(app, options);
  app.add_flag("--no-tags", options.noTags, "Remove all tags")->excludes("--tag");
  AddChoice(app, "--privacy", options.privacy, kPrivacies, "Who can see it");
  AddChoice(app, "--category", options.category, kCategories,
            "The number of the category, such as 28 for science");
  AddValue(app, "ID", options.id, "The video")->required()->type_name("");
}

constexpr Command kCommands[] = {
    {"youtube", "upload", "Upload videos",
     "velk-publish youtube upload --token-file token --title Bars --description \"It's a test\" --tag bars "
     "clip.mp4",
     AddUploadOptions, Upload},
    {"youtube", "update", "Replace the title, description, privacy, category and tags of a video",
     "velk-publish youtube update --token-file token --meta video.json dQw4w9WgXcQ", AddUpdateOptions,
     Update},
};

}  // namespace

std::span<const Command> YoutubeCommands() { return kCommands; }

}  // namespace velk::publish
