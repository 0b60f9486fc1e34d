/*
 * libtarnodevice: the device application's end of the link to tarnoSnmp (tarnosnmp-device-link(7)).
 *
 * A program declares its objects once and then serves them: the library takes each request of the
 * agent from the queue, calls the getter or setter of the object, and sends exactly one answer, in
 * the order of the requests, unless the program has none (TARNO_NOT_NOW). Byte order, length bytes
 * and attribute words are the library's affair.
 *
 * Functions return 0 or a count on success and a negative errno value (errno(3)) on failure.
 * Nothing is printed, nothing throws, and no memory is allocated after the declarations. One thread
 * at a time may use a device, except where a function says otherwise; several devices need several
 * IPC namespaces, because the queue keys are fixed. The names here begin with tarno_ or TARNO_.
 */
#ifndef TARNODEVICE_H
#define TARNODEVICE_H

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define TARNO_API __attribute__((visibility("default")))
#else
#define TARNO_API
#endif

/* The version of this header; tarno_version() has that of the library. */
#define TARNO_VERSION_MAJOR 1
#define TARNO_VERSION_MINOR 0

/* The objects that the agent itself reads at startup. Without them it serves no tables, and its
 * scalars stand under its default base OID. */
#define TARNO_BASE_OID 0x80BA   /* text: the dotted base OID, with a leading period */
#define TARNO_TABLE_ROWS 0x0A41 /* one unsigned byte: TARNO_FOUR_ROWS or TARNO_EIGHT_ROWS */
#define TARNO_FOUR_ROWS 0
#define TARNO_EIGHT_ROWS 1

/* The agent requests the objects 0x0910 to 0x0913 of a mapping as TARNO_FIRST_GROUP, and 0x0914 to
 * 0x0917 as TARNO_SECOND_GROUP: a device declares these two, never their members. */
#define TARNO_FIRST_GROUP 0x083A
#define TARNO_SECOND_GROUP 0x083B

/* The widest value of a link frame, in bytes. A manager sees at most 64 of them. */
#define TARNO_WIDEST 252

/* How the device stores an object. */
typedef enum tarno_kind {
    TARNO_UNSIGNED = 0, /* width 1, 2 or 4 */
    TARNO_SIGNED = 1,   /* width 1, 2 or 4 */
    TARNO_TEXT = 2,     /* width 1 to TARNO_WIDEST, with or without a terminating NUL */
    TARNO_BYTES = 3     /* width 1 to TARNO_WIDEST */
} tarno_kind;

/* A value on its way from a getter or to a setter. */
typedef struct tarno_value {
    tarno_kind kind; /* as declared */
    size_t width;    /* as declared, in bytes */
    uint32_t u;      /* TARNO_UNSIGNED */
    int32_t s;       /* TARNO_SIGNED */
    /* TARNO_TEXT and TARNO_BYTES: `width` bytes, and one more that is always 0, so that text is a C
     * string. All of them are 0 before a getter runs. Valid during the call only. */
    char *data;
} tarno_value;

/* What a getter or setter makes of a request. */
typedef enum tarno_outcome {
    TARNO_DONE = 0,   /* the value is there, or was taken over */
    TARNO_FAILED = 1, /* the agent gets an error answer */
    TARNO_NOT_NOW = 2 /* no answer: the agent waits for up to 3 s, and then 40 ms per request */
} tarno_outcome;

/* Called by tarno_device_step and tarno_device_serve, in their thread. `user` is that of the
 * object. A getter fills in `u`, `s` or `data`; a number that does not fit the width is truncated
 * to it. A setter gets a value of exactly the declared width; text ends at its first NUL. */
typedef tarno_outcome (*tarno_getter)(void *user, uint16_t id, tarno_value *value);
typedef tarno_outcome (*tarno_setter)(void *user, uint16_t id, const tarno_value *value);

/* One object. Without a getter or setter, `user` points to the variable itself: an integer of the
 * declared kind and width (uint16_t for TARNO_UNSIGNED of width 2), or an array of `width` bytes,
 * which must outlive the device. */
typedef struct tarno_object {
    uint16_t id;
    tarno_kind kind;
    size_t width; /* bytes */
    int writable; /* whether a manager may set it */
    tarno_getter get;
    tarno_setter set; /* ignored unless writable */
    void *user;
} tarno_object;

/* Zero is the default of every member. */
typedef struct tarno_options {
    /* The mode of the queues (msgget(2)), such as 0660; 0: create them with 0666 and accept any.
     * Otherwise an existing queue with wider permissions is narrowed if this process may do that,
     * and refused with -EPERM if not. */
    mode_t mode;
    /* Whether an existing queue must belong to this effective user or root; -EPERM if not. */
    int check_owner;
    /* Whether requests that waited before the start are discarded; otherwise they are answered. */
    int discard_old_requests;
    /* The signal that ends a wait; 0: SIGRTMAX - 8. The library installs a handler for it that does
     * nothing, and unblocks it in the thread that serves. */
    int wake_signal;
} tarno_options;

/* What happened since the device was made. */
typedef struct tarno_statistics {
    uint64_t reads;              /* well-formed read requests */
    uint64_t writes;             /* well-formed write requests */
    uint64_t answers;            /* sent, error answers included */
    uint64_t errors;             /* error answers: unknown, unwritable, wrong width, TARNO_FAILED */
    uint64_t unknown;            /* requests for objects that were not declared */
    uint64_t unanswered;         /* TARNO_NOT_NOW */
    uint64_t malformed;          /* messages that are no request; they get no answer */
    uint64_t oversized;          /* messages longer than any request; they get no answer */
    uint64_t lost_answers;       /* the answer queue was full or could not be used */
    uint64_t discarded_requests; /* discarded at the start */
    uint64_t reopened;           /* how often the queues were found or made again */
    uint64_t interrupted;        /* waits that a signal of somebody else interrupted */
} tarno_statistics;

typedef struct tarno_device tarno_device;

/* "MAJOR.MINOR.PATCH" of the library. */
TARNO_API const char *tarno_version(void);

/* Makes a device without objects or queues; `options` may be null. Null if memory is exhausted. */
TARNO_API tarno_device *tarno_device_new(const tarno_options *options);

/* Frees it. The queues and their messages stay. Stop its thread first. Null is allowed. */
TARNO_API void tarno_device_free(tarno_device *device);

/* Declares objects, in any order, before the device is opened or serves; they are copied. Either
 * all are declared or none: -EINVAL (kind, width, no getter and no variable, a member of a group),
 * -EEXIST (an id twice), -EBUSY (the device was opened, or serves already), -ENOMEM. */
TARNO_API int tarno_device_add(tarno_device *device, const tarno_object *objects, size_t count);

/* Creates the queues, or takes over those that are there. A step does this by itself; call it to
 * see its errors early: -EPERM (see tarno_options), or those of msgget(2). */
TARNO_API int tarno_device_open(tarno_device *device);

/* Serves at most one request, and waits for it for up to `milliseconds`; 0 does not wait, a
 * negative number waits until tarno_device_stop. Returns 1 if a message was taken, 0 after the time
 * or a stop, and -errno if the queues cannot be used; the next step tries again. */
TARNO_API int tarno_device_step(tarno_device *device, int milliseconds);

/* Serves until tarno_device_stop: returns 0. While the queues cannot be used, tries again every
 * 100 ms. */
TARNO_API int tarno_device_serve(tarno_device *device);

/* Ends the current or next step or tarno_device_serve. From any thread or signal handler. */
TARNO_API void tarno_device_stop(tarno_device *device);

/* Runs tarno_device_serve in a thread of its own: getters and setters are called there. -EBUSY if
 * it runs already, or an error of pthread_create(3). */
TARNO_API int tarno_device_start(tarno_device *device);

/* Stops that thread and waits for it. 0, or -ESRCH if it does not run. */
TARNO_API int tarno_device_join(tarno_device *device);

/* A copy of the counters. From any thread. */
TARNO_API void tarno_device_statistics(const tarno_device *device, tarno_statistics *statistics);

/* The link without objects, for programs that make their own answers, such as simulators. Requests
 * and answers are frames as in tarnosnmp-device-link(7). One thread may receive while another
 * sends. */
typedef struct tarno_link tarno_link;

/* The longest message, in bytes: what a queue takes by default (msgmax in proc(5)). */
#define TARNO_LONGEST_MESSAGE 8192

/* As tarno_device_new, tarno_device_free and tarno_device_open. */
TARNO_API tarno_link *tarno_link_new(const tarno_options *options);
TARNO_API void tarno_link_free(tarno_link *link);
TARNO_API int tarno_link_open(tarno_link *link);

/* Takes the first request, whatever it contains, and waits for it as tarno_device_step does.
 * Returns 1 with its bytes, which stay valid until the next call; a longer message is truncated to
 * TARNO_LONGEST_MESSAGE. Returns 0 after the time or a stop; -EIDRM if the queue was removed: the
 * next call finds or creates it; otherwise -errno as tarno_link_open. */
TARNO_API int tarno_link_receive(tarno_link *link, int milliseconds, const void **request,
                                 size_t *size);

/* Sends an answer without blocking: 0, -EAGAIN if the queue is full, -EMSGSIZE if it has more than
 * TARNO_LONGEST_MESSAGE bytes, or an error of msgsnd(2). Finds or creates a queue that was removed.
 */
TARNO_API int tarno_link_send(tarno_link *link, const void *answer, size_t size);

/* Ends the current or next tarno_link_receive. From any thread or signal handler. */
TARNO_API void tarno_link_stop(tarno_link *link);

/* Removes the queues that this link created, and their messages; never others. 0 or -errno. */
TARNO_API int tarno_link_remove_own(tarno_link *link);

#ifdef __cplusplus
}
#endif

#endif
