// The legacy upload. It exchanges an Atom entry for a URL and a one-time token, and posts the file and the
// token to that URL as a form. No exported function calls it.
#include <algorithm>

#include "xml/xml.h"
#include "youtube/youtube.h"

namespace velk::youtube {
namespace {

using namespace std::chrono_literals;

constexpr const char* kTokenUrl = "http://gdata.youtube.com/action/GetUploadToken";

// Identifies the application in every token request.
constexpr const char* kDeveloperKeyHeader =
    "X-GData-Key: key="
    "C3J27XDCG2LmlZGEONYlgCtjfIZ4SOcMz9CPVNPkNa1Hedcm4pMbXDu-L1mHoOsFaQfDPrA-71fTquWoGsbeKXgzg2sye9b2Ra";

// The redirect target for a browser. The library does not follow redirects.
constexpr const char* kNextUrl = "?nexturl=http://localhost";

constexpr std::string_view kEntryStart =
    "<?xml version=\"1.0\"?>\n"
    "<entry xmlns=\"http://www.w3.org/2005/Atom\" xmlns:media=\"http://search.yahoo.com/mrss/\""
    " xmlns:yt=\"http://gdata.youtube.com/schemas/2007\"><media:group>";
constexpr std::string_view kCategoryStart =
    "<media:category scheme=\"http://gdata.youtube.com/schemas/2007/categories.cat\">";

constexpr StatusResult kFormResults[] = {
    {200, VELK_OK},
    {302, VELK_OK},
    {503, VELK_TRANSFER_FAILED},
};

std::string ComposeAtomEntry(const YoutubeUploadInfo& info, std::string_view category) {
  std::string keywords(Field(info.tags));
  std::ranges::replace(keywords, '\n', ',');
  return Concat({kEntryStart, "<media:title type=\"plain\">", Field(info.title),
                 "</media:title><media:description type=\"plain\">", Field(info.description),
                 "</media:description>", kCategoryStart, category.substr(0, category.find('&')),
                 "</media:category><media:keywords>", keywords,
                 "</media:keywords></media:group></entry>\r\n"});
}

bool ReadChild(const XmlNode* parent, const char* name, std::string& out) {
  const XmlNode* child = XmlChild(parent, name);
  if (child) out = child->text;
  return child != nullptr;
}

bool FitsWithTerminator(const std::string& text, int32_t capacity) noexcept {
  return capacity > 0 && text.size() < static_cast<size_t>(capacity);
}

// Copies a string that fits, and replaces the capacity with its length.
void CopyWithLength(const std::string& text, char* out, int32_t& inOutLength) noexcept {
  CopyText(text, {out, static_cast<size_t>(inOutLength)});
  inOutLength = static_cast<int32_t>(text.size());
}

std::string_view IdentifierIn(std::string_view url) noexcept {
  constexpr std::string_view kName = "id=";
  const size_t name = url.rfind(kName);
  return name == std::string_view::npos ? std::string_view() : url.substr(name + kName.size());
}

}  // namespace

int32_t BuildAtomEntry(const YoutubeUploadInfo* info, char* outXml, int32_t* inOutLength,
                       const char* category) noexcept {
  if (!category || !outXml || !info || !inOutLength) return VELK_MISSING_ARGUMENT;
  if (*info->title == '\0' || *info->description == '\0' || *category == '\0' || *info->tags == '\0')
    return VELK_MISSING_ARGUMENT;
  return Guarded([&]() -> int32_t {
    const std::string entry = ComposeAtomEntry(*info, category);
    const auto length = static_cast<int32_t>(entry.size());
    const bool fits = FitsWithTerminator(entry, *inOutLength);
    *inOutLength = fits ? length : length + 1;
    if (!fits) return VELK_BUFFER_TOO_SMALL;
    entry.copy(outXml, entry.size());
    return VELK_OK;
  });
}

int32_t RequestUploadToken(const char* accessToken, const void* /*ignored*/, const char* atomEntry,
                           char* outUrl, int32_t* inOutUrlLength, char* outToken,
                           int32_t* inOutTokenLength) noexcept {
  if (!accessToken || !outUrl || !outToken || *accessToken == '\0') return VELK_MISSING_ARGUMENT;
  if (!atomEntry || !inOutUrlLength || !inOutTokenLength) return VELK_MISSING_ARGUMENT;
  return Guarded([&]() -> int32_t {
    Transfer exchange;
    if (!exchange) return VELK_NO_HANDLE;
    exchange.Url(kTokenUrl)
        .Timeout(10s)
        .Body(atomEntry)
        .Post()
        .Header(BearerHeader(accessToken))
        .Header("GData-Version: 2")
        .Header(kDeveloperKeyHeader)
        .Header("Content-Type: application/atom+xml; charset=UTF-8")
        .Header("Expect:");  // sends a long entry without waiting for "100 Continue"
    if (const CURLcode failure = exchange.Perform(); failure != CURLE_OK) return FromTransfer(failure);
    if (exchange.Status() != 200) return VELK_UNEXPECTED_REPLY;

    const std::string_view reply = exchange.Reply().Bytes();
    std::string url;
    std::string token;
    if (ParseUploadTokenReply(reply.data(), reply.size(), &url, &token) != VELK_OK)
      return VELK_UNEXPECTED_REPLY;
    if (!FitsWithTerminator(url, *inOutUrlLength) || !FitsWithTerminator(token, *inOutTokenLength))
      return VELK_BUFFER_TOO_SMALL;
    CopyWithLength(url, outUrl, *inOutUrlLength);
    CopyWithLength(token, outToken, *inOutTokenLength);
    return VELK_OK;
  });
}

int32_t ParseUploadTokenReply(const char* text, size_t length, std::string* outUrl,
                              std::string* outToken) noexcept {
  if (length == 0 || !outUrl || !outToken) return VELK_MISSING_ARGUMENT;
  const int32_t result = Guarded([&]() -> int32_t {
    std::string copy(text, length);  // the reader modifies its input, and the tree points into it
    const XmlTree root(XmlParseString(copy.data(), copy.size()));
    const bool complete = ReadChild(root.get(), "url", *outUrl) && ReadChild(root.get(), "token", *outToken);
    return complete ? VELK_OK : VELK_UNEXPECTED_REPLY;
  });
  return result == VELK_OUT_OF_MEMORY ? VELK_UNEXPECTED_REPLY : result;
}

int32_t PostBrowserUploadForm(FileUploader* uploader, const char* accessToken, const char* filePath,
                              char* outVideoId, const char* uploadUrl, const char* uploadToken) noexcept {
  if (!uploader || !accessToken || !filePath || !outVideoId || !uploadUrl || !uploadToken)
    return VELK_MISSING_ARGUMENT;
  return Guarded([&]() -> int32_t {
    Transfer form({.useProxy = false});
    if (!form) return VELK_NO_HANDLE;
    form.Url(Concat({uploadUrl, kNextUrl}))
        .Progress(&YoutubeProgressCallback, uploader)
        .Post()
        .FormFileAt(filePath)
        .FormField("token", uploadToken)
        .Verbose();
    AtomicStore(uploader->state, uint32_t{kYoutubeUploading});
    if (const CURLcode failure = form.Perform(); failure != CURLE_OK) return FromTransfer(failure);

    const int32_t result = FromStatus(form.Status(), kFormResults, VELK_UNEXPECTED_REPLY);
    if (result == VELK_OK) CopyText(IdentifierIn(form.EffectiveUrl()), {outVideoId, kBrowserVideoIdCapacity});
    return result;
  });
}

}  // namespace velk::youtube
