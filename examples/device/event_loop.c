/* The device application of pump.c in a program that has an event loop of its own: everything runs
 * in one thread. pump.yaml is its mapping. */
#define _POSIX_C_SOURCE 200809L

#include <errno.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/signalfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <tarnodevice.h>

/* A queue is no file descriptor, so a timer looks for requests: a walk or a set waits up to
 * LOOK_EVERY_MS for it to begin. Its further requests follow at once and are served without the
 * timer, but only so many, so that other events have their turn. */
enum { LOOK_EVERY_MS = 5, WAIT_FOR_NEXT_MS = 1, AT_ONCE = 50, MEASURE_EVERY_MS = 1000 };

enum { END, LOOK, MEASURE, SOURCES };

static char base[] = ".1.3.6.1.4.1.32473.21";
static uint8_t rows = TARNO_FOUR_ROWS;
static uint16_t pressure; /* hundredths of a bar */
static char contact[32] = "ops@example.net";
static uint8_t openings[4] = {100, 100, 50, 0};

/* Runs in tarno_device_step, as every getter and setter: no lock is needed. */
static tarno_outcome set_opening(void *user, uint16_t id, const tarno_value *value)
{
    (void)id;
    if (value->u > 100)
        return TARNO_FAILED;
    *(uint8_t *)user = (uint8_t)value->u;
    return TARNO_DONE;
}

static const tarno_object objects[] = {
    {TARNO_BASE_OID, TARNO_TEXT, sizeof base, 0, NULL, NULL, base},
    {TARNO_TABLE_ROWS, TARNO_UNSIGNED, 1, 0, NULL, NULL, &rows},
    {0x0010, TARNO_UNSIGNED, 2, 0, NULL, NULL, &pressure},
    {0x0011, TARNO_TEXT, sizeof contact, 1, NULL, NULL, contact},
    {0x0100, TARNO_UNSIGNED, 1, 1, NULL, set_opening, &openings[0]},
    {0x0101, TARNO_UNSIGNED, 1, 1, NULL, set_opening, &openings[1]},
    {0x0102, TARNO_UNSIGNED, 1, 1, NULL, set_opening, &openings[2]},
    {0x0103, TARNO_UNSIGNED, 1, 1, NULL, set_opening, &openings[3]},
};

static void measure(void)
{
    pressure = 412; /* your sensor comes here */
}

static void serve(tarno_device *device)
{
    int served = 0;
    while (served < AT_ONCE && tarno_device_step(device, WAIT_FOR_NEXT_MS) > 0)
        ++served;
}

/* A descriptor that becomes readable again and again; -1 on failure. */
static int timer_of(int milliseconds)
{
    const struct timespec interval = {milliseconds / 1000, milliseconds % 1000 * 1000000L};
    const struct itimerspec setting = {interval, interval};
    const int timer = timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC);
    if (timer >= 0 && timerfd_settime(timer, 0, &setting, NULL) != 0) {
        close(timer);
        return -1;
    }
    return timer;
}

/* A descriptor that becomes readable when the program is asked to end; -1 on failure. */
static int end_of_program(void)
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    sigprocmask(SIG_BLOCK, &signals, NULL);
    return signalfd(-1, &signals, SFD_CLOEXEC);
}

static int has_elapsed(const struct pollfd *timer)
{
    uint64_t times;
    return (timer->revents & POLLIN) != 0 && read(timer->fd, &times, sizeof times) > 0;
}

static int run(tarno_device *device, struct pollfd sources[SOURCES])
{
    while (poll(sources, SOURCES, -1) >= 0) {
        if ((sources[END].revents & POLLIN) != 0)
            return 0;
        if (has_elapsed(&sources[LOOK]))
            serve(device);
        if (has_elapsed(&sources[MEASURE]))
            measure();
    }
    return -errno;
}

static int run_with_sources(tarno_device *device)
{
    struct pollfd sources[SOURCES] = {{end_of_program(), POLLIN, 0},
                                      {timer_of(LOOK_EVERY_MS), POLLIN, 0},
                                      {timer_of(MEASURE_EVERY_MS), POLLIN, 0}};
    int error = 0;
    int index;
    for (index = 0; index < SOURCES; ++index)
        if (sources[index].fd < 0)
            error = -errno;
    if (error == 0)
        error = run(device, sources);
    for (index = 0; index < SOURCES; ++index)
        if (sources[index].fd >= 0)
            close(sources[index].fd);
    return error;
}

int main(void)
{
    tarno_device *device = tarno_device_new(NULL);
    int error = device == NULL ? -ENOMEM : 0;
    if (error == 0)
        error = tarno_device_add(device, objects, sizeof objects / sizeof objects[0]);
    if (error == 0)
        error = tarno_device_open(device);
    measure();
    if (error == 0)
        error = run_with_sources(device);
    tarno_device_free(device);
    if (error != 0)
        fprintf(stderr, "event_loop: %s\n", strerror(-error));
    return error == 0 ? 0 : 1;
}
