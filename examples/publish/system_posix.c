/* The publisher's system calls on POSIX. */
#define _POSIX_C_SOURCE 200809L

#include <pthread.h>
#include <signal.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

#include "system.h"

struct Worker {
  pthread_t thread;
  pthread_mutex_t lock;
  pthread_cond_t ended;
  bool done;
  void (*run)(void*);
  void* context;
};

const char kPathSeparators[] = "/";

static volatile sig_atomic_t interrupted;

char** Utf8Arguments(int* argc, char** argv) {
  (void)argc;
  return argv;
}

static void NoteInterrupt(int signal) {
  (void)signal;
  interrupted = 1;
}

void CatchInterrupt(void) {
  struct sigaction action = {0};
  action.sa_handler = NoteInterrupt;
  sigaction(SIGINT, &action, NULL);
}

bool Interrupted(void) { return interrupted != 0; }

bool OutputIsTerminal(void) { return isatty(STDOUT_FILENO) == 1; }

double Now(void) {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return (double)now.tv_sec + (double)now.tv_nsec / 1e9;
}

static void* RunWorker(void* argument) {
  Worker* worker = argument;
  worker->run(worker->context);
  pthread_mutex_lock(&worker->lock);
  worker->done = true;
  pthread_cond_signal(&worker->ended);
  pthread_mutex_unlock(&worker->lock);
  return NULL;
}

Worker* StartWorker(void (*run)(void*), void* context) {
  Worker* worker = calloc(1, sizeof *worker);
  if (!worker) return NULL;
  worker->run = run;
  worker->context = context;
  pthread_mutex_init(&worker->lock, NULL);
  pthread_cond_init(&worker->ended, NULL);
  if (pthread_create(&worker->thread, NULL, RunWorker, worker) == 0) return worker;
  free(worker);
  return NULL;
}

bool WaitWorker(Worker* worker, int milliseconds) {
  struct timespec until;
  clock_gettime(CLOCK_REALTIME, &until);
  until.tv_nsec += (long)milliseconds * 1000000L;
  until.tv_sec += until.tv_nsec / 1000000000L;
  until.tv_nsec %= 1000000000L;
  pthread_mutex_lock(&worker->lock);
  while (!worker->done && pthread_cond_timedwait(&worker->ended, &worker->lock, &until) == 0) {
  }
  const bool done = worker->done;
  pthread_mutex_unlock(&worker->lock);
  if (!done) return false;
  pthread_join(worker->thread, NULL);
  pthread_cond_destroy(&worker->ended);
  pthread_mutex_destroy(&worker->lock);
  free(worker);
  return true;
}
