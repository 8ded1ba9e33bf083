/*
 * Velk Upload: publishes media files and short posts to Facebook, Twitter and YouTube.
 *
 * This is the library's whole interface: plain C functions over fixed-layout records, for C99 and C++.
 *
 * Calls      Every function blocks until its HTTP exchange is over and runs on the caller's thread. The
 *            library starts no thread and keeps no pointer to a caller's memory after it returns. It holds no
 *            lock, but for the Linux build, which signs one Twitter request at a time.
 * Threads    Any function may be called on any thread, several at once. Two things are shared: the proxy
 *            setting, and a FileUploader that one thread passes to an upload while others poll or cancel it.
 * Results    A signed 32-bit code: 0 for success, negative for failure, and for some Facebook functions a small
 *            positive code for partial success. VelkResult lists them; each function says when it returns which.
 * Text       Narrow and NUL-terminated; paths are UTF-8 on every platform. Text goes to the services byte for
 *            byte unless a function says otherwise: pass UTF-8, and percent-encode what goes into a URL yourself.
 * Arguments  A null pointer or an empty required string answers VELK_MISSING_ARGUMENT before anything is sent,
 *            unless a function says otherwise. A record's field without a terminator is read to its width.
 * Files      A regular file can be uploaded. A folder, a pipe or a device such as NUL is VELK_FILE_NOT_OPENED.
 * Replies    A reply of more than 4 MiB fails the exchange. So does a URL of another scheme than http or https
 *            in a reply, and a line break in a token that travels in a header; nothing is sent then.
 * Buffers    Written only on the paths named. Each function states the room that a buffer without a size needs.
 * TLS        The services' certificates are not verified. The Linux build compares the name in a certificate with
 *            the host; the DLL does not, since Windows compares it only together with the chain. A library that is
 *            built with the CMake option VELK_VERIFY_PEER verifies chain and name, against the Windows store or the
 *            system's bundle: without a certificate that it trusts, an exchange fails and nothing is sent.
 */
#ifndef VELK_UPLOAD_H
#define VELK_UPLOAD_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32) && !defined(VELK_UPLOAD_STATIC)
#define VELK_API __declspec(dllimport)
#elif defined(__GNUC__) && !defined(_WIN32)
#define VELK_API __attribute__((visibility("default")))
#else
#define VELK_API
#endif

/* No exception leaves the library, and a C++ host's compiler may rely on it. */
#ifdef __cplusplus
#define VELK_NOEXCEPT noexcept
extern "C" {
#else
#define VELK_NOEXCEPT
#endif

/* ------------------------------------------------------------ result codes */

/* What a call answers: the common meanings. A function's own list says when it returns which. */
enum VelkResult {
  VELK_OK = 0,
  VELK_PRIVACY_NOT_UPDATED = 1,   /* Facebook: published or found, but its privacy could not be set */
  VELK_NO_PAGES = 2,              /* Facebook: the user manages no page */
  VELK_TEXT_NOT_UPDATED = 3,      /* Facebook update: the text step of updateKind 1 or 2 failed */
  VELK_MESSAGE_NOT_UPDATED = 4,   /* Facebook update: the message step of updateKind 0 failed */
  VELK_UNSUPPORTED_GET = 5,       /* Facebook: "Unsupported get request." for a video's embed address */
  VELK_UNEXPECTED_REPLY = -1,     /* the reply was not the expected one; progress: nothing reported yet */
  VELK_MISSING_ARGUMENT = -2,     /* a required argument is null or empty; YouTube: also status 401 */
  VELK_TRANSFER_FAILED = -3,      /* name resolution, connection, TLS, time-out, or a broken exchange */
  VELK_NO_IDENTIFIER = -4,        /* the reply lacks the token or identifier that the call is for */
  VELK_TOKEN_REJECTED = -5,       /* Facebook refused the access token, or asked for a retry later */
  VELK_BUFFER_TOO_SMALL = -6,     /* the caller's buffer is smaller than the library needs */
  VELK_NO_TITLE = -7,             /* YouTube categories: the reply has no title */
  VELK_FORBIDDEN = -8,            /* YouTube: status 403 */
  VELK_CANCELLED = -10,           /* the transfer was aborted through its handle */
  VELK_NOT_UPLOADING = -11,       /* YouTube: progress or cancel asked while nothing is uploading */
  VELK_BUSY = -12,                /* the handle is in use and was not freed */
  VELK_CREDENTIALS_REFUSED = -13, /* Twitter refused the credentials or the signature */
  VELK_DUPLICATE_STATUS = -14,    /* Twitter refused a text that repeats an earlier one */
  VELK_TOO_LARGE = -15,           /* Twitter: text or file beyond its limit; also a timed-out media step */
  VELK_SERVER_ERROR = -16,        /* Facebook's video host answered status 500 */
  VELK_NO_HANDLE = -17,           /* no HTTP handle could be made; YouTube: also a status not listed */
  VELK_OUT_OF_MEMORY = -18,       /* a memory allocation failed */
  VELK_FILE_NOT_OPENED = -19      /* the file to upload could not be opened for reading */
};

/* ------------------------------------------------------------ upload handle */

/*
 * Follows one upload: the upload writes it, other threads poll it and cancel through it.
 * Made by an Init function, passed to one Start... call, freed by the matching Uninit. Use one handle per
 * upload. The layout is fixed (24 bytes), but hosts read it through Get...Progress.
 */
typedef struct FileUploader {
  double uploadedBytes;     /* bytes sent so far in the current transfer */
  double totalBytes;        /* bytes to send in the current transfer; a form's own bytes count as well */
  uint32_t state;           /* Facebook, Twitter: 0 idle or cancelled, 1 progress was reported.
                           YouTube: 0 idle, 2 uploading, 4 cancel asked */
  uint32_t cancelRequested; /* Facebook, Twitter: non-zero aborts the transfer; never cleared */
} FileUploader;

/*
 * Makes a handle for the uploads to Facebook and Twitter; the two names are one function, and a handle of
 * either serves both services. Returns a zeroed handle that the caller owns until Uninit..., or null without
 * memory.
 */
VELK_API FileUploader* InitFacebookFileUploder(void) VELK_NOEXCEPT;
VELK_API FileUploader* InitTwitterFileUploder(void) VELK_NOEXCEPT;

/*
 * Reads how far an upload is. Meant for another thread than the uploading one, at any time while the handle
 * lives; the two figures may stem from two successive reports.
 *
 *   uploader     in   the handle
 *   outUploaded  out  bytes sent so far in the current transfer
 *   outTotal     out  bytes to send in the current transfer
 *
 * VELK_OK                 both figures written
 * VELK_MISSING_ARGUMENT   a pointer is null
 * VELK_UNEXPECTED_REPLY   no progress was reported yet, or the upload was cancelled; nothing written
 */
VELK_API int32_t GetFacebookUploadFileProgress(const FileUploader* uploader, double* outUploaded,
                                               double* outTotal) VELK_NOEXCEPT;
VELK_API int32_t GetTwitterUploadFileProgress(const FileUploader* uploader, double* outUploaded,
                                              double* outTotal) VELK_NOEXCEPT;

/*
 * Asks the upload that uses the handle to stop. Returns at once; the upload stops at its next progress report
 * and answers VELK_CANCELLED. The request is never cleared: every later transfer with this handle is aborted
 * too.
 *
 * VELK_OK                 recorded, whether or not an upload runs
 * VELK_MISSING_ARGUMENT   uploader is null
 */
VELK_API int32_t CancelFacebookUploadFile(FileUploader* uploader) VELK_NOEXCEPT;
VELK_API int32_t CancelTwitterUploadFile(FileUploader* uploader) VELK_NOEXCEPT;

/*
 * Frees a handle. Never call it while another thread is inside an upload with the handle.
 * An upload that reported progress leaves the handle's state at 1, and nothing sets it back: such a handle
 * answers VELK_BUSY and stays allocated. A handle that was cancelled in mid-transfer, or never used, can be
 * freed.
 *
 * VELK_OK                 freed; the pointer is dead
 * VELK_MISSING_ARGUMENT   uploader is null
 * VELK_BUSY               its state is not 0; nothing freed
 */
VELK_API int32_t UninitFacebookFileUploder(FileUploader* uploader) VELK_NOEXCEPT;
VELK_API int32_t UninitTwitterFileUploder(FileUploader* uploader) VELK_NOEXCEPT;

/* ------------------------------------------------------------ proxy */

/*
 * Routes all later requests of the process through a proxy. Set it before starting requests: it is one string
 * without a lock, and a request that is being set up meanwhile may read a mixed text. A running request keeps
 * its own.
 *
 *   proxy  in  what libcurl accepts as CURLOPT_PROXY, such as "http://127.0.0.1:8080"; empty or null
 *              turns the proxy off. Only the first 255 bytes are kept.
 *
 * VELK_OK   always
 */
VELK_API int32_t SetLibVelkUploadProxy(const char* proxy) VELK_NOEXCEPT;

/*
 * Reads the proxy setting back.
 *
 *   outProxy  out  receives the text, NUL-terminated
 *   size      in   the buffer's size in bytes; at least 256, however short the text is. Not written.
 *
 * VELK_OK                 written
 * VELK_MISSING_ARGUMENT   a pointer is null
 * VELK_BUFFER_TOO_SMALL   *size is below 256; nothing written
 */
VELK_API int32_t GetLibVelkUploadProxy(char* outProxy, const int32_t* size) VELK_NOEXCEPT;

/* ------------------------------------------------------------ Facebook */

/* What to publish on Facebook, or how to change it. Filled by the host, only read here. 53624 bytes. */
typedef struct FacebookUploadInfo {
  uint32_t updateKind; /* SetFacebookUpdateInfo: 0 message, 1 privacy and message, 2 description */
  char targetId[260]; /* the node to publish to, such as a page's id; the user's own node ("me") when the text
                         is empty, does not begin with a non-zero number, or is "NULL" */
  char filePath[1024];     /* the media file, UTF-8 */
  char title[260];         /* a video's title */
  char description[50000]; /* a video's description; the message of a photo or a post */
  char privacy[25];        /* the value of the Graph API's privacy object, such as "EVERYONE" or "SELF" */
  char link[2048];         /* the link of a post */
} FacebookUploadInfo;

/* One page that the user manages. 1284 bytes. */
typedef struct FacebookPage {
  char id[260];
  char name[1024];
} FacebookPage;

/*
 * Trades a token for a long-lived one, in one GET limited to 10 seconds.
 *
 *   appId           in   the application's client identifier
 *   appSecret       in   the application's client secret
 *   exchangeToken   in   the token to trade
 *   outToken        out  room for 1024 bytes: the new token, NUL-terminated, cut at 1023 characters; empty
 *                        when the reply holds none
 *   outTokenLength  out  the new token's length in bytes, without its terminator
 *   outExpiresIn    out  the new token's lifetime in seconds; left alone when the reply holds none. May be null
 *
 * VELK_OK                 answered; outToken and outTokenLength written. On every other code all three outputs
 *                         are left alone. Test outTokenLength: it is 0 when no token came
 * VELK_MISSING_ARGUMENT   a pointer other than outExpiresIn is null; empty texts are sent as they are
 * VELK_TRANSFER_FAILED    the exchange failed
 * VELK_TOKEN_REJECTED     status 400: Facebook refused the token
 * VELK_UNEXPECTED_REPLY   any other status
 * VELK_NO_HANDLE          no HTTP handle could be made
 * VELK_OUT_OF_MEMORY      a memory allocation failed
 */
VELK_API int32_t ExangeFacebookAccessToken(const char* appId, const char* appSecret,
                                           const char* exchangeToken, char* outToken,
                                           uint32_t* outTokenLength, uint32_t* outExpiresIn) VELK_NOEXCEPT;

/*
 * Asks Facebook whether a token is good, in one GET limited to 10 seconds. Each answer "valid" leaves the
 * request's memory allocated until the process ends: ask when there is doubt, and do not poll.
 *
 *   appId        in   the application's client identifier
 *   accessToken  in   the token to check
 *   outValid     out  1 when the token is valid, else 0; written as soon as any reply has arrived
 *
 * VELK_OK                 a definite answer, in outValid
 * VELK_MISSING_ARGUMENT   a pointer is null; empty texts are sent as they are
 * VELK_TRANSFER_FAILED    the exchange failed; outValid left alone
 * VELK_UNEXPECTED_REPLY   neither status 200 nor an error of type "OAuthException"; outValid is 0
 * VELK_NO_HANDLE          no HTTP handle could be made; outValid left alone
 * VELK_OUT_OF_MEMORY      a memory allocation failed
 */
VELK_API int32_t CheckFacebookAccessTokenValid(const char* appId, const char* accessToken,
                                               uint32_t* outValid) VELK_NOEXCEPT;

/*
 * Fetches the name and the e-mail address of the token's owner. Only the connection attempt is limited, to
 * 5 seconds. The e-mail is sought in what reading the name leaves of the reply, where it is practically never
 * found: expect it to be empty. Escapes in the name are not decoded.
 *
 *   accessToken     in      the user's access token
 *   outName         out     room for 1024 bytes, whatever its size below says: the name, NUL-terminated, cut
 *                           at 1023 characters; empty when the reply holds none
 *   inOutNameSize   in/out  outName's size in bytes; with VELK_BUFFER_TOO_SMALL the size needed. May be null
 *   outEmail        out     room for 1024 bytes, as for outName: the e-mail address
 *   inOutEmailSize  in/out  outEmail's size, as for outName. May be null
 *
 * VELK_OK                 answered with status 200; both texts written, without regard to the sizes
 * VELK_MISSING_ARGUMENT   accessToken, outName or outEmail is null; an empty token is sent as it is
 * VELK_TRANSFER_FAILED    the exchange failed
 * VELK_TOKEN_REJECTED     status 400: Facebook refused the token
 * VELK_UNEXPECTED_REPLY   any other status; or neither text could be read and both sizes suffice
 * VELK_BUFFER_TOO_SMALL   neither text could be read, and a size is too small: both sizes needed are written
 * VELK_NO_HANDLE          no HTTP handle could be made
 * VELK_OUT_OF_MEMORY      a memory allocation failed
 */
VELK_API int32_t GetFacebookUserNameEmail(const char* accessToken, char* outName, int32_t* inOutNameSize,
                                          char* outEmail, int32_t* inOutEmailSize) VELK_NOEXCEPT;

/*
 * Uploads one video file in one multipart POST. A file below 50 MiB goes to the Graph API host and, when that
 * fails for any reason (a cancel included), once more from its start to the video host, whose result counts.
 * A larger file goes to the video host alone. Only the connection attempt is limited, to 5 seconds.
 *
 *   uploader     in/out  receives the progress, which starts again on the second host; a cancel aborts
 *   accessToken  in      the user's or page's access token
 *   info         in      targetId, filePath, title, description and privacy, which may be empty. The path
 *                        is also what the form announces as the file's name, on Windows in the ANSI code page
 *   outVideoId   out     room for 1024 bytes: the new video's identifier, NUL-terminated, cut at 1023
 *                        characters
 *
 * VELK_OK                 the video exists; outVideoId written, on every other code it is left alone. Also when
 *                         the connection broke behind an identifier
 * VELK_MISSING_ARGUMENT   a pointer is null; accessToken, filePath, title or description is empty
 * VELK_FILE_NOT_OPENED    the file cannot be opened for reading
 * VELK_CANCELLED          the upload was cancelled
 * VELK_TRANSFER_FAILED    the exchange failed
 * VELK_NO_IDENTIFIER      status 200, or a connection that broke while the reply was read, without an
 *                         identifier; the video may exist
 * VELK_TOKEN_REJECTED     status 400: Facebook refused the token; or the video host's status 500 asks for a
 *                         retry later
 * VELK_SERVER_ERROR       the video host's status 500 asks for no retry
 * VELK_UNEXPECTED_REPLY   any other status
 * VELK_NO_HANDLE          no HTTP handle could be made
 * VELK_OUT_OF_MEMORY      a memory allocation failed
 */
VELK_API int32_t StartFacebookUploadVideo(FileUploader* uploader, const char* accessToken,
                                          const FacebookUploadInfo* info, char* outVideoId) VELK_NOEXCEPT;

/*
 * Uploads one photo in one multipart POST, then sets its privacy in a second request of at most 30 seconds.
 * For the upload only the connection attempt is limited, to 5 seconds.
 *
 *   uploader     in/out  receives the upload's progress; a cancel aborts the upload
 *   accessToken  in      the user's or page's access token
 *   info         in      targetId, filePath, description (the message) and privacy. The path is also what the
 *                        form announces as the file's name, on Windows in the ANSI code page
 *   outPostId    out     room for 1024 bytes: the identifier of the story about the photo ("post_id"),
 *                        NUL-terminated, cut at 1023 characters
 *
 * VELK_OK                   the photo exists; outPostId written, or left alone when the reply names no story.
 *                           A reply without the photo's own identifier leaves the privacy as it is
 * VELK_PRIVACY_NOT_UPDATED  the photo exists, but its privacy could not be set; outPostId left alone. The
 *                           upload's memory stays allocated until the process ends
 * VELK_MISSING_ARGUMENT     a pointer is null; accessToken, filePath, description or privacy is empty
 * VELK_FILE_NOT_OPENED      the file cannot be opened for reading
 * VELK_CANCELLED            the upload was cancelled
 * VELK_TRANSFER_FAILED      the upload failed
 * VELK_TOKEN_REJECTED       status 400: Facebook refused the token
 * VELK_UNEXPECTED_REPLY     any other status than 200
 * VELK_NO_HANDLE            no HTTP handle could be made
 * VELK_OUT_OF_MEMORY        a memory allocation failed
 */
VELK_API int32_t StartFacebookUploadPhoto(FileUploader* uploader, const char* accessToken,
                                          const FacebookUploadInfo* info, char* outPostId) VELK_NOEXCEPT;

/*
 * Posts a text, a link or both to a feed, in one form POST limited to 30 seconds. The form is sent as it
 * stands: percent-encode description and link yourself, or their '&', '=', '%' and '+' are read as the form's.
 *
 *   accessToken  in   the user's or page's access token
 *   info         in   targetId, description (the message), link and privacy. A description or link "NULL"
 *                     counts as absent, unless nothing else is there to be sent
 *   outPostId    out  room for 1024 bytes: the post's identifier, NUL-terminated, cut at 1023 characters
 *
 * VELK_OK                 posted; outPostId written, on every other code it is left alone
 * VELK_MISSING_ARGUMENT   a pointer is null; accessToken is empty; description and link are both empty
 * VELK_CANCELLED          the transfer was aborted, which nothing asks for here
 * VELK_TRANSFER_FAILED    the exchange failed
 * VELK_NO_IDENTIFIER      status 200 without an identifier; the post may exist
 * VELK_TOKEN_REJECTED     status 400: Facebook refused the token
 * VELK_UNEXPECTED_REPLY   any other status
 * VELK_NO_HANDLE          no HTTP handle could be made
 * VELK_OUT_OF_MEMORY      a memory allocation failed
 */
VELK_API int32_t PostFacebookComment(const char* accessToken, const FacebookUploadInfo* info,
                                     char* outPostId) VELK_NOEXCEPT;

/*
 * Lists the pages that the user manages, in one GET limited to 10 seconds, for replies of up to 10240 bytes.
 * Identifiers and names are paired by their order in the reply, and whatever carries either counts: a page's
 * categories come out as pages of their own. A text ends at its first escape.
 *
 *   accessToken  in   the user's access token
 *   outPages     out  the list: an array that the host owns and gives back to FreeFacebookUserPagesList, and
 *                     never frees itself. Null: only count
 *   outCount     out  the number of its elements
 *
 * VELK_OK                 both written
 * VELK_NO_PAGES           the user manages no page; *outCount is 0, *outPages left alone
 * VELK_MISSING_ARGUMENT   accessToken or outCount is null
 * VELK_BUFFER_TOO_SMALL   the reply is longer than 10240 bytes
 * VELK_TRANSFER_FAILED    the exchange failed, or its status is not 200
 * VELK_UNEXPECTED_REPLY   any other failure: an empty token, no HTTP handle, or no memory
 */
VELK_API int32_t GetFacebookUserPagesList(const char* accessToken, FacebookPage** outPages,
                                          int32_t* outCount) VELK_NOEXCEPT;

/*
 * Frees a list of pages and sets the host's pointer to null, so that a second call does nothing.
 *
 *   pages  in/out  the list that GetFacebookUserPagesList handed out; the pointer or what it points to may be
 *                  null
 *
 * VELK_OK   always
 */
VELK_API int32_t FreeFacebookUserPagesList(FacebookPage** pages) VELK_NOEXCEPT;

/*
 * Changes something published earlier, by info->updateKind:
 *
 *   0  its message
 *   1  the privacy of the object that the story objectId is about, if it is about one; then its message
 *   2  its description
 *
 * Both texts come from info->description. Each form POST is limited to 30 seconds and sent as it stands, as
 * with PostFacebookComment. A failed step ends the update; what was changed before stays changed.
 *
 *   accessToken  in  the user's or page's access token
 *   objectId     in  the object, such as the identifier that an upload or a post gave back
 *   info         in  updateKind, description and, for kind 1, privacy
 *
 * VELK_OK                    every step succeeded
 * VELK_MESSAGE_NOT_UPDATED   kind 0: the message could not be set; a null accessToken or objectId included
 * VELK_PRIVACY_NOT_UPDATED   kind 1: the privacy could not be set, or the object not be looked up. A privacy
 *                            that was refused leaves the lookup's memory allocated until the process ends
 * VELK_TEXT_NOT_UPDATED      kind 1: the message could not be set; kind 2: the description could not
 * VELK_UNEXPECTED_REPLY      any other kind; nothing was sent
 * VELK_MISSING_ARGUMENT      info is null
 */
VELK_API int32_t SetFacebookUpdateInfo(const char* accessToken, const char* objectId,
                                       const FacebookUploadInfo* info) VELK_NOEXCEPT;

/*
 * Fetches the address of the page that shows a photo. Only the connection attempt is limited, to 5 seconds.
 * Escapes in the address are not decoded.
 *
 *   accessToken  in      the user's or page's access token
 *   photoId      in      the photo's identifier
 *   outUrl       out     the address, NUL-terminated; empty when the photo has none
 *   inOutSize    in/out  outUrl's size in bytes; with VELK_BUFFER_TOO_SMALL the size needed. A negative size
 *                        counts as very large, and null as no limit
 *
 * VELK_OK                 answered; outUrl written, on every other code it is left alone
 * VELK_MISSING_ARGUMENT   a pointer other than inOutSize is null; empty texts are sent as they are
 * VELK_CANCELLED          the transfer was aborted, which nothing asks for here
 * VELK_TRANSFER_FAILED    the exchange failed
 * VELK_BUFFER_TOO_SMALL   the address and its terminator do not fit
 * VELK_TOKEN_REJECTED     status 400: Facebook refused the token
 * VELK_UNEXPECTED_REPLY   any other status
 * VELK_NO_HANDLE          no HTTP handle could be made
 * VELK_OUT_OF_MEMORY      a memory allocation failed
 */
VELK_API int32_t GetFacebookPhotoUrl(const char* accessToken, const char* photoId, char* outUrl,
                                     int32_t* inOutSize) VELK_NOEXCEPT;

/*
 * Composes the address of the page that shows a video; nothing is sent.
 *
 *   accessToken  in      must not be null, and is not used
 *   videoId      in      the video's identifier
 *   outUrl       in/out  a NUL-terminated text on entry, all of which is overwritten with zeros; receives the
 *                        address
 *   inOutSize    in/out  outUrl's size in bytes, at least the identifier's length and 46; with
 *                        VELK_BUFFER_TOO_SMALL the size needed. A negative size counts as very large, and null
 *                        as no limit
 *
 * VELK_OK                 outUrl written
 * VELK_MISSING_ARGUMENT   a pointer other than inOutSize is null; outUrl left alone
 * VELK_BUFFER_TOO_SMALL   the size is too small; outUrl is empty
 * VELK_OUT_OF_MEMORY      a memory allocation failed; outUrl is empty
 */
VELK_API int32_t GetFacebookVideoUrl(const char* accessToken, const char* videoId, char* outUrl,
                                     int32_t* inOutSize) VELK_NOEXCEPT;

/*
 * Fetches the address of a video's own file, for embedding. Parameters and results are those of
 * GetFacebookPhotoUrl, and:
 *
 * VELK_UNSUPPORTED_GET    status 400: Facebook does not know the identifier, or gives no such address for it
 * VELK_TRANSFER_FAILED    also when there is no memory to read the reply
 */
VELK_API int32_t GetFacebookVideoEmbedUrl(const char* accessToken, const char* videoId, char* outUrl,
                                          int32_t* inOutSize) VELK_NOEXCEPT;

/* ------------------------------------------------------------ Twitter */

/* The host application's own Twitter credentials. 2048 bytes. */
typedef struct TwitterConsumer {
  char consumerKey[1024];
  char consumerSecret[1024];
} TwitterConsumer;

/* What is traded for an access token. 4096 bytes. */
typedef struct TwitterAccessRequest {
  char consumerKey[1024];
  char consumerSecret[1024];
  char requestToken[1024]; /* the oauth_token in the authorize URL */
  char verifier[1024];     /* the PIN that the user got from Twitter */
} TwitterAccessRequest;

/* The signed-in user. 2568 bytes. */
typedef struct TwitterAccessToken {
  char oauthToken[1024];
  char oauthTokenSecret[1024];
  char userId[260];
  char screenName[260];
} TwitterAccessToken;

/* A photo to tweet. 3072 bytes. */
typedef struct TwitterUploadFile {
  char fileName[1024];   /* the file's name with its extension, UTF-8 */
  char folderPath[1024]; /* the folder that holds it, UTF-8, without a trailing separator */
  char statusText[1024]; /* the tweet's text, at most 420 bytes */
} TwitterUploadFile;

/*
 * Every request to Twitter is signed (OAuth 1.0a, HMAC-SHA1). Of a consumer key 1004 bytes are used and of a
 * token 1011, on the wire as in the signature: Twitter refuses a longer one as an unknown one. Secrets may
 * fill their fields.
 * A signature holds the time in seconds and a nonce, 32 random characters from the operating system. Without
 * randomness a call returns VELK_OUT_OF_MEMORY.
 */

/*
 * Begins a sign-in: obtains a request token and turns it into the address at which the user authorizes the
 * application. Open the address in a browser; Twitter then shows the user the PIN that GetTwitterAccessToken
 * takes, together with the token behind "oauth_token=" in the address. Limited to 10 seconds.
 *
 *   consumerKey     in      the host application's key, NUL-terminated
 *   consumerSecret  in      its secret, NUL-terminated
 *   urlSize         in/out  the size of url in bytes, or null for no check. It is not compared with the
 *                           address but with Twitter's reply, less 11 bytes; when it is smaller, it receives
 *                           that size. An address may be longer than the reply asks for: 52 bytes and the
 *                           token.
 *   url             out     room for 1076 bytes, whatever urlSize says: the longest address, with its
 *                           terminator. A reply beyond 1087 bytes asks for a larger urlSize, which
 *                           changes nothing about the room needed.
 *
 * VELK_OK                    url written. On every other code url is left alone
 * VELK_MISSING_ARGUMENT      a pointer other than urlSize is null, or key or secret is empty
 * VELK_BUFFER_TOO_SMALL      *urlSize is too small; the size wanted is in *urlSize
 * VELK_NO_IDENTIFIER         the reply holds no token
 * VELK_CREDENTIALS_REFUSED   Twitter refused key, secret or the machine's clock
 * VELK_UNEXPECTED_REPLY      Twitter answered another status than 200
 * VELK_TRANSFER_FAILED       the exchange failed
 * VELK_NO_HANDLE             no HTTP handle could be made
 * VELK_OUT_OF_MEMORY         a memory allocation failed; inside the signing library it ends the process
 */
VELK_API int32_t GetTwitterOauthUrl(const char* consumerKey, const char* consumerSecret, int32_t* urlSize,
                                    char* url) VELK_NOEXCEPT;

/*
 * Ends a sign-in: trades the request token and the user's PIN for an access token. Keep it: it does not
 * expire, and every other call takes it. Limited to 10 seconds.
 *
 *   request  in   all four fields required. Token and PIN go into the address as they stand, not
 *                 percent-encoded and not signed.
 *   token    out  the user. Values are as Twitter sent them, cut at their fields' widths. A reply that ends
 *                 after fewer than four fields leaves the fields of the rest alone, and is a success.
 *
 * VELK_OK                    token written. On every other code token is left alone
 * VELK_MISSING_ARGUMENT      a pointer is null, or a field of request is empty
 * VELK_NO_IDENTIFIER         the reply does not begin with a token
 * VELK_CREDENTIALS_REFUSED   Twitter refused key, secret, request token, PIN or the machine's clock
 * VELK_UNEXPECTED_REPLY      Twitter answered another status than 200
 * VELK_TRANSFER_FAILED       the exchange failed
 * VELK_NO_HANDLE             no HTTP handle could be made
 * VELK_OUT_OF_MEMORY         a memory allocation failed; inside the signing library it ends the process
 */
VELK_API int32_t GetTwitterAccessToken(const TwitterAccessRequest* request,
                                       TwitterAccessToken* token) VELK_NOEXCEPT;

/*
 * Posts a tweet. Only the connection is limited, to 5 seconds.
 *
 *   consumer    in  key and secret required
 *   token       in  the user's token and its secret
 *   statusText  in  the text, NUL-terminated, at most 420 bytes; may be empty
 *   mediaIds    in  the identifiers of uploaded media, separated by commas; empty for none
 *
 * VELK_OK                    the tweet exists
 * VELK_MISSING_ARGUMENT      a pointer is null, or key or secret is empty
 * VELK_TOO_LARGE             the text has more than 420 bytes; nothing was sent
 * VELK_CREDENTIALS_REFUSED   Twitter refused key, token, a secret or the machine's clock
 * VELK_DUPLICATE_STATUS      the user posted this text before
 * VELK_UNEXPECTED_REPLY      Twitter answered another status than 200
 * VELK_TRANSFER_FAILED       the exchange failed; the tweet may exist
 * VELK_NO_HANDLE             no HTTP handle could be made
 * VELK_OUT_OF_MEMORY         a memory allocation failed; inside the signing library it ends the process
 */
VELK_API int32_t PostTwitterComment(const TwitterConsumer* consumer, const TwitterAccessToken* token,
                                    const char* statusText, const char* mediaIds) VELK_NOEXCEPT;

/*
 * Publishes a photo: uploads the file in segments of 1,048,576 bytes, one exchange each between a first and a
 * last one, and posts a tweet that shows it. A failed step ends the call, and nothing is withdrawn: without
 * its tweet an uploaded photo is not seen. Nothing is retried. Only the connections are limited, to 5
 * seconds each.
 *
 *   uploader  in/out  follows the segment being sent, not the file: its figures start again with each
 *                     segment. A cancel through it aborts that segment, and takes effect on segments alone.
 *   consumer  in      key and secret required
 *   token     in      all four fields required
 *   file      in      the photo and its text. Names are joined with the system's path separator. The first
 *                     three bytes behind the name's last dot are announced as image type.
 *
 * VELK_OK                    the tweet exists. When Twitter reported another state of the photo than
 *                            "success", the call waited a second and asked once for it, without heeding
 *                            the answer
 * VELK_MISSING_ARGUMENT      a pointer is null; a field of consumer or token, or the text, is empty; or the
 *                            file became shorter while it was sent
 * VELK_FILE_NOT_OPENED       the file cannot be opened for reading
 * VELK_TOO_LARGE             the file has more than 5,242,880 bytes (nothing was sent); a connection was
 *                            not made in time; or the text has more than 420 bytes, which is found out
 *                            after the upload
 * VELK_CANCELLED             a segment was cancelled
 * VELK_CREDENTIALS_REFUSED   Twitter refused key, token, a secret or the machine's clock
 * VELK_DUPLICATE_STATUS      the user posted this text before
 * VELK_BUFFER_TOO_SMALL      Twitter's identifier for the photo is longer than 1023 bytes
 * VELK_UNEXPECTED_REPLY      Twitter answered another status, or the first exchange failed
 * VELK_TRANSFER_FAILED       another exchange failed; after the last one the tweet may exist
 * VELK_NO_HANDLE             no HTTP handle could be made
 * VELK_OUT_OF_MEMORY         a memory allocation failed; inside the signing library it ends the process
 */
VELK_API int32_t StartTwitterUploadPhoto(FileUploader* uploader, const TwitterConsumer* consumer,
                                         const TwitterAccessToken* token,
                                         const TwitterUploadFile* file) VELK_NOEXCEPT;

/* ------------------------------------------------------------ YouTube */

/*
 * A video to publish, or an update of one. 7398 bytes.
 * The calls rewrite title and description in place: each line feed, carriage return and tab becomes a
 * backslash and n, r or t, cut at the field's width. Refill both fields before using a record again for
 * another text. Text goes into the request between single quotes and is not escaped otherwise: an apostrophe
 * ends it early, so replace it.
 */
typedef struct YoutubeUploadInfo {
  char filePath[1024];    /* the video file, UTF-8 */
  char title[300];        /* the video's title; required */
  char description[5000]; /* the video's description; required */
  char privacyStatus[25]; /* "public", "private" or "unlisted"; required */
  char categoryId[25];    /* the number of a YouTube category as text, such as "22"; required */
  char tags[1024];        /* one tag per line, separated by a line feed; may be empty */
} YoutubeUploadInfo;

/*
 * Makes a handle for an upload to YouTube. Its states differ from those of the other services, so keep it to
 * the YouTube functions. Returns a zeroed handle that the caller owns until Uninit..., or null without memory.
 */
VELK_API FileUploader* InitYoutubeFileUploder(void) VELK_NOEXCEPT;

/*
 * Frees a handle. A finished upload leaves the handle uploading: call CancelYoutubeUploadFile first, then
 * this. Never call it while another thread is inside an upload with the handle.
 *
 * VELK_OK                 freed; the pointer is dead
 * VELK_MISSING_ARGUMENT   uploader is null
 * VELK_BUSY               an upload runs or has finished, and was not cancelled since; nothing freed
 */
VELK_API int32_t UninitYoutubeFileUploder(FileUploader* uploader) VELK_NOEXCEPT;

/*
 * Uploads one video file in two exchanges (YouTube Data API v3, resumable upload): a request that describes
 * the video and opens a session, limited to 10 seconds, and one PUT of the whole file, without a time limit.
 * Nothing is retried.
 *
 *   uploader     in/out  receives the progress; a cancel through it aborts the PUT
 *   accessToken  in      an OAuth 2.0 access token with the scope youtube.upload
 *   info         in/out  the video; title and description are rewritten (see YoutubeUploadInfo)
 *   outVideoId   out     room for 256 bytes: the new video's identifier, NUL-terminated, cut at
 *                        255 characters
 *
 * VELK_OK                 the video exists; outVideoId written. On every other code outVideoId is left alone
 * VELK_MISSING_ARGUMENT   accessToken or info null; accessToken, description, title, privacyStatus or
 *                         categoryId empty; the session was refused with status 401; or, after the session
 *                         was opened, uploader or outVideoId null
 * VELK_FILE_NOT_OPENED    the file cannot be opened for reading
 * VELK_FORBIDDEN          the session was refused with status 403
 * VELK_UNEXPECTED_REPLY   the session was refused with another status; the PUT was answered 400
 * VELK_CANCELLED          the PUT was cancelled
 * VELK_TRANSFER_FAILED    an exchange failed; the PUT was answered 503
 * VELK_NO_IDENTIFIER      the PUT was answered 200 or 302 without an identifier, or 201 or 308; the video
 *                         may exist
 * VELK_NO_HANDLE          no HTTP handle could be made; the PUT was answered another status
 * VELK_OUT_OF_MEMORY      a memory allocation failed
 */
VELK_API int32_t StartYoutubeUploadFile(FileUploader* uploader, const char* accessToken,
                                        YoutubeUploadInfo* info, char* outVideoId) VELK_NOEXCEPT;

/*
 * Reads how far an upload is; as for the other services, from any thread. The figures count the file's bytes.
 * They stay readable after the upload has ended, until the handle is cancelled.
 *
 * VELK_OK                 both figures written
 * VELK_MISSING_ARGUMENT   a pointer is null
 * VELK_NOT_UPLOADING      the PUT has not begun, or a cancel was asked; nothing written
 */
VELK_API int32_t GetYoutubeUploadFileProgress(const FileUploader* uploader, double* outUploaded,
                                              double* outTotal) VELK_NOEXCEPT;

/*
 * Asks the PUT that uses the handle to stop; on a finished upload it releases the handle for Uninit.... Returns
 * at once.
 *
 * VELK_OK                 recorded
 * VELK_MISSING_ARGUMENT   uploader is null
 * VELK_NOT_UPLOADING      no PUT has begun with the handle since it was made or last cancelled
 */
VELK_API int32_t CancelYoutubeUploadFile(FileUploader* uploader) VELK_NOEXCEPT;

/*
 * Replaces the title, description, tags, category and privacy of a published video (YouTube Data API v3) in one
 * request limited to 10 seconds. All five are replaced: give those that stay as they are too, and no tags only
 * to remove them.
 *
 *   accessToken  in      an OAuth 2.0 access token with a scope that manages videos, such as youtube; the
 *                        scope youtube.upload is not enough
 *   videoId      in      the video's identifier, as StartYoutubeUploadFile gave it
 *   info         in/out  the new description; filePath is not read, title and description are rewritten
 *                        (see YoutubeUploadInfo)
 *
 * VELK_OK                 the video is changed
 * VELK_MISSING_ARGUMENT   a pointer is null; accessToken, videoId, description, title, privacyStatus or
 *                         categoryId empty; or the request was refused with status 401
 * VELK_FORBIDDEN          the request was refused with status 403
 * VELK_UNEXPECTED_REPLY   the request was refused with another status
 * VELK_TRANSFER_FAILED    the exchange failed
 * VELK_NO_HANDLE          no HTTP handle could be made
 * VELK_OUT_OF_MEMORY      a memory allocation failed
 */
VELK_API int32_t SetYoutubeUploadFileUpdateInfo(const char* accessToken, const char* videoId,
                                                YoutubeUploadInfo* info) VELK_NOEXCEPT;

/* ------------------------------------------------------------ record layout */

/*
 * Where each field lies, in bytes: offset and width, and each record's size. Hosts in other languages lay the
 * records out by these figures; a C or C++ host's compiler checks them here, against packing options of its own.
 */
#ifdef __cplusplus
#define VELK_PIN(name, condition) static_assert(condition, #name " does not lie where the library expects it")
#else
#define VELK_PIN(name, condition) typedef char VelkPinned_##name[(condition) ? 1 : -1]
#endif
#define VELK_FIELD(record, field, offset, width) \
  VELK_PIN(record##_##field, offsetof(record, field) == (offset) && sizeof(((record*)0)->field) == (width))
#define VELK_SIZE(record, size) VELK_PIN(record, sizeof(record) == (size))

VELK_FIELD(FileUploader, uploadedBytes, 0, 8);
VELK_FIELD(FileUploader, totalBytes, 8, 8);
VELK_FIELD(FileUploader, state, 16, 4);
VELK_FIELD(FileUploader, cancelRequested, 20, 4);
VELK_SIZE(FileUploader, 24);

VELK_FIELD(FacebookUploadInfo, updateKind, 0, 4);
VELK_FIELD(FacebookUploadInfo, targetId, 4, 260);
VELK_FIELD(FacebookUploadInfo, filePath, 264, 1024);
VELK_FIELD(FacebookUploadInfo, title, 1288, 260);
VELK_FIELD(FacebookUploadInfo, description, 1548, 50000);
VELK_FIELD(FacebookUploadInfo, privacy, 51548, 25);
VELK_FIELD(FacebookUploadInfo, link, 51573, 2048);
VELK_SIZE(FacebookUploadInfo, 53624);

VELK_FIELD(FacebookPage, id, 0, 260);
VELK_FIELD(FacebookPage, name, 260, 1024);
VELK_SIZE(FacebookPage, 1284);

VELK_FIELD(TwitterConsumer, consumerKey, 0, 1024);
VELK_FIELD(TwitterConsumer, consumerSecret, 1024, 1024);
VELK_SIZE(TwitterConsumer, 2048);

VELK_FIELD(TwitterAccessRequest, consumerKey, 0, 1024);
VELK_FIELD(TwitterAccessRequest, consumerSecret, 1024, 1024);
VELK_FIELD(TwitterAccessRequest, requestToken, 2048, 1024);
VELK_FIELD(TwitterAccessRequest, verifier, 3072, 1024);
VELK_SIZE(TwitterAccessRequest, 4096);

VELK_FIELD(TwitterAccessToken, oauthToken, 0, 1024);
VELK_FIELD(TwitterAccessToken, oauthTokenSecret, 1024, 1024);
VELK_FIELD(TwitterAccessToken, userId, 2048, 260);
VELK_FIELD(TwitterAccessToken, screenName, 2308, 260);
VELK_SIZE(TwitterAccessToken, 2568);

VELK_FIELD(TwitterUploadFile, fileName, 0, 1024);
VELK_FIELD(TwitterUploadFile, folderPath, 1024, 1024);
VELK_FIELD(TwitterUploadFile, statusText, 2048, 1024);
VELK_SIZE(TwitterUploadFile, 3072);

VELK_FIELD(YoutubeUploadInfo, filePath, 0, 1024);
VELK_FIELD(YoutubeUploadInfo, title, 1024, 300);
VELK_FIELD(YoutubeUploadInfo, description, 1324, 5000);
VELK_FIELD(YoutubeUploadInfo, privacyStatus, 6324, 25);
VELK_FIELD(YoutubeUploadInfo, categoryId, 6349, 25);
VELK_FIELD(YoutubeUploadInfo, tags, 6374, 1024);
VELK_SIZE(YoutubeUploadInfo, 7398);

#undef VELK_SIZE
#undef VELK_FIELD
#undef VELK_PIN

#ifdef __cplusplus
}
#endif

#endif
