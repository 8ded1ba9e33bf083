/* Running an upload on one thread while another shows its progress and passes on Ctrl-C. */
#include <math.h>
#include <stdio.h>

#include "publish.h"
#include "system.h"

enum { kPollMilliseconds = 100, kBarWidth = 24, kLineWidth = 52 };

static const double kKibibyte = 1024.0;
static const double kMebibyte = 1048576.0;
static const double kSecondsBetweenLines = 1.0;
static const double kShortestPace = 0.1; /* seconds below which a rate says nothing */

typedef struct Running {
  const Upload* upload;
  int32_t result;
} Running;

static void Start(void* context) {
  Running* running = context;
  running->result = running->upload->start(running->upload->context);
}

/* One state of the progress: a line of its own, or on a terminal a bar over the last one. */
static void Show(double uploaded, double total, double seconds, bool terminal) {
  const double unit = total < kMebibyte ? kKibibyte : kMebibyte;
  const char* const name = total < kMebibyte ? "KiB" : "MiB";
  const double share = total > 0 ? fmin(uploaded / total, 1.0) : 1.0;
  char pace[48] = "";
  if (seconds >= kShortestPace) {
    const double rate = uploaded / seconds;
    int length = snprintf(pace, sizeof pace, ", %.1f %s/s", rate / unit, name);
    if (rate > 0 && share < 1)
      snprintf(pace + length, sizeof pace - (size_t)length, ", %.0f s left", ceil((total - uploaded) / rate));
  }
  char line[128];
  snprintf(line, sizeof line, "%3.0f %%  %.1f of %.1f %s%s", share * 100, uploaded / unit, total / unit, name,
           pace);
  if (terminal) {
    char bar[kBarWidth + 1];
    for (int cell = 0; cell < kBarWidth; ++cell) bar[cell] = cell < (int)(share * kBarWidth) ? '#' : '.';
    bar[kBarWidth] = '\0';
    printf("\r[%s] %-*.*s", bar, kLineWidth, kLineWidth, line);
  } else {
    puts(line);
  }
  fflush(stdout);
}

int32_t RunUpload(const Upload* upload) {
  const bool terminal = OutputIsTerminal();
  Running running = {upload, VELK_OUT_OF_MEMORY};
  CatchInterrupt();
  Worker* worker = StartWorker(Start, &running);
  if (!worker) return VELK_OUT_OF_MEMORY;

  double began = 0;
  double shown = 0;
  bool cancelled = false;
  bool ended = false;
  while (!ended) {
    ended = WaitWorker(worker, kPollMilliseconds);
    /* A cancel may come before there is anything to cancel; ask again until it is taken. */
    if (!ended && Interrupted() && !cancelled) cancelled = upload->cancel(upload->uploader) == VELK_OK;
    double uploaded = 0;
    double total = 0;
    if (upload->progress(upload->uploader, &uploaded, &total) != VELK_OK || total <= 0) continue;
    if (began == 0) began = Now();
    if (!terminal && !ended && Now() - shown < kSecondsBetweenLines) continue;
    shown = Now();
    Show(uploaded, total, shown - began, terminal);
  }
  if (terminal && shown > 0) putchar('\n');
  return running.result;
}
