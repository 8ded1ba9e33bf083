/* Uploads a video to Facebook, and cancels the upload on Ctrl-C. */
#define _POSIX_C_SOURCE 200809L
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <velk_upload.h>

typedef struct Upload {
  FileUploader* uploader;
  FacebookUploadInfo info;
  char videoId[1024];
  int32_t result;
} Upload;

static void RunUpload(Upload* upload) {
  upload->result = StartFacebookUploadVideo(upload->uploader, "ACCESS-TOKEN", &upload->info, upload->videoId);
}

/* Starting a thread, and waiting a tenth of a second for its end. */
#ifdef _WIN32
#include <windows.h>

static HANDLE thread;
static DWORD WINAPI Start(void* upload) { return RunUpload(upload), 0; }
static int StartThread(Upload* upload) {
  return (thread = CreateThread(NULL, 0, Start, upload, 0, NULL)) != NULL;
}
static int HasEnded(void) { return WaitForSingleObject(thread, 100) == WAIT_OBJECT_0; }
#else
#include <pthread.h>
#include <time.h>

static pthread_t thread;
static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static int ended;
static void* Start(void* upload) {
  RunUpload(upload);
  pthread_mutex_lock(&lock);
  ended = 1;
  pthread_mutex_unlock(&lock);
  return NULL;
}
static int StartThread(Upload* upload) { return pthread_create(&thread, NULL, Start, upload) == 0; }
static int HasEnded(void) {
  const struct timespec pause = {0, 100000000};
  nanosleep(&pause, NULL);
  pthread_mutex_lock(&lock);
  const int hasEnded = ended;
  pthread_mutex_unlock(&lock);
  return hasEnded && pthread_join(thread, NULL) == 0;
}
#endif

/* The results that an application can act on. The header lists all. */
static const char* NameOf(int32_t result) {
  static const struct {
    int32_t result;
    const char* name;
  } kNames[] = {{VELK_OK, "VELK_OK"},
                {VELK_TRANSFER_FAILED, "VELK_TRANSFER_FAILED"},
                {VELK_TOKEN_REJECTED, "VELK_TOKEN_REJECTED"},
                {VELK_CANCELLED, "VELK_CANCELLED"},
                {VELK_SERVER_ERROR, "VELK_SERVER_ERROR"},
                {VELK_FILE_NOT_OPENED, "VELK_FILE_NOT_OPENED"}};
  for (size_t i = 0; i < sizeof kNames / sizeof *kNames; ++i)
    if (kNames[i].result == result) return kNames[i].name;
  return "another result";
}

static volatile sig_atomic_t interrupted;
static void NoteInterrupt(int number) { interrupted = number; }

int main(void) {
  static Upload upload = {.info = {.filePath = "share/examples/media/clip.mp4",
                                   .title = "A title",
                                   .description = "A test",
                                   .privacy = "SELF"}};
  SetLibVelkUploadProxy(getenv("VELK_SANDBOX_PROXY"));
  signal(SIGINT, NoteInterrupt);
  upload.uploader = InitFacebookFileUploder();
  if (!upload.uploader || !StartThread(&upload)) return EXIT_FAILURE;
  while (!HasEnded())
    if (interrupted) CancelFacebookUploadFile(upload.uploader);
  UninitFacebookFileUploder(upload.uploader); /* the handle of a finished upload stays allocated */
  printf("%s %s\n", NameOf(upload.result), upload.videoId);
  return upload.result == VELK_OK ? EXIT_SUCCESS : EXIT_FAILURE;
}
