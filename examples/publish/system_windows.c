/* The publisher's system calls on Windows. */
#include <windows.h>

#include <io.h>
#include <shellapi.h>
#include <stdio.h>
#include <stdlib.h>

#include "system.h"

struct Worker {
  HANDLE thread;
  void (*run)(void*);
  void* context;
};

const char kPathSeparators[] = "/\\";

static volatile LONG interrupted;

/* The narrow arguments went through the ANSI code page, which loses characters: take the wide ones. */
char** Utf8Arguments(int* argc, char** argv) {
  (void)argv;
  SetConsoleOutputCP(CP_UTF8);
  /* Otherwise a console gets each character by itself, and a progress bar flickers. */
  setvbuf(stdout, NULL, _IOFBF, BUFSIZ);
  wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), argc);
  char** utf8 = wide ? calloc((size_t)*argc + 1, sizeof *utf8) : NULL;
  for (int index = 0; utf8 && index < *argc; ++index) {
    const int size = WideCharToMultiByte(CP_UTF8, 0, wide[index], -1, NULL, 0, NULL, NULL);
    utf8[index] = malloc((size_t)size);
    if (!utf8[index]) return NULL;
    WideCharToMultiByte(CP_UTF8, 0, wide[index], -1, utf8[index], size, NULL, NULL);
  }
  LocalFree(wide);
  return utf8;
}

static BOOL WINAPI NoteInterrupt(DWORD event) {
  if (event != CTRL_C_EVENT) return FALSE;
  InterlockedExchange(&interrupted, 1);
  return TRUE;
}

void CatchInterrupt(void) { SetConsoleCtrlHandler(NoteInterrupt, TRUE); }

bool Interrupted(void) { return interrupted != 0; }

bool OutputIsTerminal(void) { return _isatty(_fileno(stdout)) != 0; }

double Now(void) { return (double)GetTickCount64() / 1000.0; }

static DWORD WINAPI RunWorker(void* argument) {
  Worker* worker = argument;
  worker->run(worker->context);
  return 0;
}

Worker* StartWorker(void (*run)(void*), void* context) {
  Worker* worker = calloc(1, sizeof *worker);
  if (!worker) return NULL;
  worker->run = run;
  worker->context = context;
  worker->thread = CreateThread(NULL, 0, RunWorker, worker, 0, NULL);
  if (worker->thread) return worker;
  free(worker);
  return NULL;
}

bool WaitWorker(Worker* worker, int milliseconds) {
  if (WaitForSingleObject(worker->thread, (DWORD)milliseconds) != WAIT_OBJECT_0) return false;
  CloseHandle(worker->thread);
  free(worker);
  return true;
}
