/* The host's own thread pool in place of the library's threads. */
#include <pthread.h>
#include <stdio.h>
#include <string.h>
#include <veskaronr.h>

#include "noisy_picture.h"

enum { WIDTH = 1200, HEIGHT = 800, STRIDE = 3 * WIDTH, MOST_THREADS = 3 };

static unsigned char in[HEIGHT * STRIDE], with_own[HEIGHT * STRIDE], with_theirs[HEIGHT * STRIDE];

struct task {
  void (*job)(void*, int32_t);
  void* argument;
  int32_t index;
};

static void* run_task(void* memory) {
  const struct task* task = memory;
  task->job(task->argument, task->index);
  return NULL;
}

/* A pool as simple as can be: a thread a job. Jobs share out the work among themselves, so it does no harm if some
 * begin late or one after the other; each has to run, though. */
static int run_in_pool(void* host, int32_t count, void (*job)(void*, int32_t), void* argument) {
  struct task tasks[MOST_THREADS];
  pthread_t threads[MOST_THREADS];
  int created[MOST_THREADS] = {0};
  int* jobs_run = host;
  for (int32_t k = 0; k < count; ++k) {
    tasks[k].job = job;
    tasks[k].argument = argument;
    tasks[k].index = k;
    created[k] = k > 0 && pthread_create(&threads[k], NULL, run_task, &tasks[k]) == 0;
  }
  for (int32_t k = 0; k < count; ++k) {
    if (created[k]) {
      pthread_join(threads[k], NULL);
    } else {
      run_task(&tasks[k]);
    }
    ++*jobs_run;
  }
  return 0;
}

int main(void) {
  make_noisy(in, WIDTH, HEIGHT, STRIDE);
  const vnr_picture source = vnr_interleaved(VNR_UINT8, WIDTH, HEIGHT, 3, in, STRIDE);
  const vnr_picture own = vnr_interleaved(VNR_UINT8, WIDTH, HEIGHT, 3, with_own, STRIDE);
  const vnr_picture theirs = vnr_interleaved(VNR_UINT8, WIDTH, HEIGHT, 3, with_theirs, STRIDE);
  int jobs_run = 0;
  const vnr_control control = {sizeof(vnr_control), MOST_THREADS, run_in_pool, NULL, NULL, &jobs_run};
  const int result = vnr_denoise(&source, &own, NULL, &control);
  const int same = vnr_denoise(&source, &theirs, NULL, NULL) == VNR_OK && memcmp(with_own, with_theirs, sizeof in) == 0;
  printf("%s, %d jobs on our own threads, %s\n", vnr_result_text(result), jobs_run,
         same ? "the same bytes" : "OTHER BYTES");
  return result == VNR_OK && same && jobs_run > 0 ? 0 : 1;
}
