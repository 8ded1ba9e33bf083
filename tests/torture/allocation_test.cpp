// Makes each allocation of every export and internal operation fail, one at a time. The result must be one of
// the expected codes. Under the sanitizers, nothing may leak or be used after it was freed.
#include <cstring>

#include "torture/fixture.h"
#include "xml/xml.h"
#include "youtube/youtube.h"

namespace velk::test {
namespace {

using namespace velk::youtube;

class AllocationFailures : public AllocationTest {
 protected:
  std::vector<Operation> Operations();

  const std::string formUrl = sandbox.Proxy() + "/form";
};

std::vector<Operation> AllocationFailures::Operations() {
  std::vector<Operation> operations = Exports();
  const std::vector<int32_t> request = {VELK_TRANSFER_FAILED, VELK_NO_HANDLE, VELK_OUT_OF_MEMORY};
  const Operation internal[] = {
      {"GetYoutubeCategoryTitle",
       [] {
         char title[kCategoryTitleCapacity];
         return GetYoutubeCategoryTitle("t", "20", title);
       },
       {VELK_TRANSFER_FAILED, VELK_NO_HANDLE, VELK_OUT_OF_MEMORY, VELK_NO_TITLE}},
      {"BuildAtomEntry",
       [this] {
         char entry[8192];
         int32_t size = sizeof entry;
         return BuildAtomEntry(&host.video, entry, &size, "News");
       },
       {VELK_OUT_OF_MEMORY}},
      {"RequestUploadToken",
       [this] {
         char token[1024];
         int32_t urlCapacity = sizeof host.text;
         int32_t tokenCapacity = sizeof token;
         return RequestUploadToken("t", nullptr, "<entry/>", host.text, &urlCapacity, token, &tokenCapacity);
       },
       {VELK_TRANSFER_FAILED, VELK_NO_HANDLE, VELK_OUT_OF_MEMORY, VELK_UNEXPECTED_REPLY}},
      {"ParseUploadTokenReply",
       [] {
         constexpr std::string_view kXml = "<r><url>u</url><token>t</token></r>";
         std::string url, oneTimeToken;
         return ParseUploadTokenReply(kXml.data(), kXml.size(), &url, &oneTimeToken);
       },
       {VELK_UNEXPECTED_REPLY}},
      {"PostBrowserUploadForm",
       [this] {
         return PostBrowserUploadForm(&host.uploader, "t", host.video.filePath, host.text, formUrl.c_str(),
                                      "token");
       },
       request},
      {"EscapeControlChars",
       [this] {
         return EscapeControlChars(host.video.title, sizeof host.video.title) == 0 ? VELK_OK
                                                                                   : VELK_OUT_OF_MEMORY;
       },
       {VELK_OUT_OF_MEMORY}},
      {"XmlParseString",
       [] {
         char document[] =
             "<!DOCTYPE r [<!ENTITY e 'xy'><!ATTLIST c k CDATA 'v'>]><r a='&e;'><c/>t&e;<?p q?><c/></r>";
         const XmlTree root(XmlParseString(document, sizeof document - 1));
         return root ? VELK_OK : VELK_OUT_OF_MEMORY;
       },
       {VELK_OUT_OF_MEMORY}},
  };
  operations.insert(operations.end(), std::begin(internal), std::end(internal));
  return operations;
}

TEST_F(AllocationFailures, ReturnExpectedCodesInTheLibrary) {
  for (const Operation& operation : Operations()) {
    const int failures = Torture(operation, Allocator::kLibrary);
    EXPECT_GT(failures, 0) << operation.name;
    std::printf("%-32s %4d allocations\n", operation.name, failures);
  }
}

TEST_F(AllocationFailures, ReturnExpectedCodesInCurl) {
  for (const Operation& operation : Operations()) Torture(operation, Allocator::kCurl);
}

TEST_F(AllocationFailures, TreatAnUnallocatedReplyAsEmpty) {
  sandbox.Reset();
  sandbox.Add({.times = 0});
  int32_t emailSize = 0;
  const auto identity = [&](int32_t nameSize) {
    return GetFacebookUserNameEmail("t", host.text, &nameSize, host.email, &emailSize);
  };
  const std::pair<int32_t, std::function<int32_t()>> rows[] = {
      {VELK_BUFFER_TOO_SMALL, [=] { return identity(1); }},  // which writes the e-mail's size
      {VELK_UNEXPECTED_REPLY, [=] { return identity(1); }},
      {VELK_BUFFER_TOO_SMALL, [=] { return identity(0); }},
      {VELK_OK, [this] { return CallNamed("GetFacebookPhotoUrl").run(host); }},
      {VELK_TRANSFER_FAILED, [this] { return CallNamed("GetFacebookVideoEmbedUrl").run(host); }},
  };
  for (const auto& [code, call] : rows) {
    const FailingAllocation failing(Allocator::kLibrary, 0);
    EXPECT_EQ(call(), code);
  }
  EXPECT_EQ(emailSize, 1);
}

}  // namespace
}  // namespace velk::test
