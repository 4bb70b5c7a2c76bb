/* A driver library in one file: it serves an instrument that lives in memory.
 *
 * Built as "ecalbridge.dll" and put on the loader's path, it is what a program talks to that opens
 * "TCPIP::<serial number>::ECAL". docs/drivers.md has the rules that the comments here are about.
 *
 * The instrument is one signal source with one setting. A command ends with a line feed:
 *   *IDN?       answers "Example,Memory Source,<serial number>,1.0"
 *   CHAN <n>    selects a channel, 1 to 99; anything else is ignored, as is an unknown command
 *   CHAN?       answers the channel
 *   *RST        selects channel 1
 * All sessions reach the same source, so what one sets another reads; answers go to the session
 * that asked.
 */
#define _POSIX_C_SOURCE 200809L

#include <uxvisa/visatype.h>

#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

/* The library is compiled with hidden visibility, so that nothing of it can get mixed up with the
 * program's own names; the ux functions are what the loader must find. */
#define EXPORTED __attribute__((visibility("default")))

enum {
    MOST_SESSIONS = 32,
    SERIAL_SIZE = 32,
    COMMAND_SIZE = 128,
    ANSWERS_SIZE = 4096,
    DEFAULT_TIMEOUT_MS = 2000
};

struct session {
    ViSession handle; /* 0: the slot is free */
    char serial[SERIAL_SIZE];
    ViUInt32 timeout_ms;
    int termchar_enabled;
    char command[COMMAND_SIZE]; /* what has come of a command whose line feed has not */
    size_t command_size;        /* COMMAND_SIZE: too long, dropped up to its line feed */
    char answers[ANSWERS_SIZE]; /* what was answered and not read yet */
    size_t answers_size;
};

/* Everything that sessions share, under one lock. Slots of a fixed table, because nothing then is
 * left behind when the library is unloaded or the process ends with sessions open. In C++ this
 * would have to be an object without a destructor: at the end of the process uxClose still comes
 * when static objects are gone already. */
static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static struct session sessions[MOST_SESSIONS];
static ViSession last_handle = 0;
static long channel = 1;

/* Handles are not used twice, so that one that was closed is never taken for a newer session. 0 is
 * none, although it fits free slots: uxClose is called with it after an uxOpen that failed. */
static struct session* find_session(ViSession vi) {
    size_t i;
    for (i = 0; vi != 0 && i < MOST_SESSIONS; ++i) {
        if (sessions[i].handle == vi) {
            return &sessions[i];
        }
    }
    return NULL;
}

static struct session* free_slot(void) {
    size_t i;
    for (i = 0; i < MOST_SESSIONS; ++i) {
        if (sessions[i].handle == 0) {
            return &sessions[i];
        }
    }
    return NULL;
}

/* Counts have 64 bits, and the pointer is null when the program does not want the count. */
static void store_count(ViPUInt32 target, size_t count) {
    if (target != NULL) {
        *target = count;
    }
}

static size_t smaller(size_t a, size_t b) {
    return a < b ? a : b;
}

/* ---- The instrument ---- */

/* An answer that does not fit is lost: nobody has read for a long time. */
static void answer(struct session* session, const char* text) {
    const size_t size = strlen(text);
    if (size <= ANSWERS_SIZE - session->answers_size) {
        memcpy(session->answers + session->answers_size, text, size);
        session->answers_size += size;
    }
}

static void select_channel(const char* number) {
    char* end;
    const long value = strtol(number, &end, 10);
    if (end != number && *end == '\0' && value >= 1 && value <= 99) {
        channel = value;
    }
}

static void execute(struct session* session, const char* command) {
    char text[SERIAL_SIZE + 64];
    if (strcmp(command, "*IDN?") == 0) {
        snprintf(text, sizeof text, "Example,Memory Source,%s,1.0\n", session->serial);
        answer(session, text);
    } else if (strcmp(command, "CHAN?") == 0) {
        snprintf(text, sizeof text, "%ld\n", channel);
        answer(session, text);
    } else if (strncmp(command, "CHAN ", 5) == 0) {
        select_channel(command + 5);
    } else if (strcmp(command, "*RST") == 0) {
        channel = 1;
    }
}

static void take_byte(struct session* session, char byte) {
    if (byte == '\n') {
        if (session->command_size < COMMAND_SIZE) {
            session->command[session->command_size] = '\0';
            execute(session, session->command);
        }
        session->command_size = 0;
    } else if (session->command_size < COMMAND_SIZE) {
        session->command[session->command_size++] = byte;
    }
}

/* ---- Reading ---- */

/* An answer ends with its line feed, and a read ends with an answer. VI_SUCCESS_TERM_CHAR tells
 * viScanf that the line is whole; viRead hands every status on to the program. */
static ViStatus take_answer(struct session* session, ViPByte buffer, size_t room, size_t* size) {
    const char* feed = memchr(session->answers, '\n', smaller(room, session->answers_size));
    *size =
        feed == NULL ? smaller(room, session->answers_size) : (size_t)(feed - session->answers) + 1;
    memcpy(buffer, session->answers, *size);
    session->answers_size -= *size;
    memmove(session->answers, session->answers + *size, session->answers_size);
    if (feed == NULL) {
        return VI_SUCCESS_MAX_CNT;
    }
    return session->termchar_enabled ? VI_SUCCESS_TERM_CHAR : VI_SUCCESS;
}

/* A driver for a real instrument waits for its device here, with poll() and the same deadline. This
 * one has answered before uxWrite returns, so all that is left to do is to let the time go by. A
 * deadline on the monotonic clock: neither a signal nor a change of the date may shorten it. */
static void wait_in_vain(ViUInt32 timeout_ms) {
    struct timespec end;
    clock_gettime(CLOCK_MONOTONIC, &end);
    end.tv_sec += (time_t)(timeout_ms / 1000);
    end.tv_nsec += (long)(timeout_ms % 1000) * 1000000;
    if (end.tv_nsec >= 1000000000) {
        end.tv_nsec -= 1000000000;
        ++end.tv_sec;
    }
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, NULL) != 0) {
    }
}

/* ---- What sessions call ---- */

/* The manager is always 0 and stands for nothing. The name is whole, as the program wrote it, and
 * a copy that ends with this call: it may be cut up, and must not be kept. */
EXPORTED ViStatus uxOpen(ViSession manager, ViRsrc name, ViAccessMode mode, ViUInt32 timeout,
                         ViPSession vi) {
    struct session* session;
    char* serial = strstr(name, "::");
    char* end;
    (void)manager;
    (void)mode;    /* nothing here can be locked */
    (void)timeout; /* and nothing takes time */
    if (serial == NULL || (end = strstr(serial + 2, "::")) == NULL) {
        return VI_ERROR_INV_RSRC_NAME;
    }
    serial += 2;
    *end = '\0';
    if (strlen(serial) >= SERIAL_SIZE) {
        return VI_ERROR_INV_RSRC_NAME;
    }
    pthread_mutex_lock(&lock);
    session = free_slot();
    if (session != NULL) {
        memset(session, 0, sizeof *session);
        session->handle = ++last_handle;
        session->timeout_ms = DEFAULT_TIMEOUT_MS;
        strcpy(session->serial, serial);
        *vi = session->handle;
    }
    pthread_mutex_unlock(&lock);
    /* Never a positive status: it would make viOpen fail. */
    return session == NULL ? VI_ERROR_ALLOC : VI_SUCCESS;
}

EXPORTED ViStatus uxClose(ViObject vi) {
    struct session* session;
    pthread_mutex_lock(&lock);
    session = find_session(vi);
    if (session != NULL) {
        session->handle = 0;
    }
    pthread_mutex_unlock(&lock);
    return session == NULL ? VI_ERROR_INV_OBJECT : VI_SUCCESS;
}

EXPORTED ViStatus uxWrite(ViSession vi, ViConstBuf buffer, ViUInt32 count, ViPUInt32 writtenCount) {
    struct session* session;
    size_t i;
    store_count(writtenCount, 0);
    pthread_mutex_lock(&lock);
    session = find_session(vi);
    for (i = 0; session != NULL && i < count; ++i) {
        take_byte(session, (char)buffer[i]);
    }
    pthread_mutex_unlock(&lock);
    if (session == NULL) {
        return VI_ERROR_INV_OBJECT;
    }
    store_count(writtenCount, count);
    return VI_SUCCESS;
}

EXPORTED ViStatus uxRead(ViSession vi, ViPByte buffer, ViUInt32 count, ViPUInt32 readCount) {
    struct session* session;
    ViUInt32 timeout_ms = 0;
    size_t size = 0;
    ViStatus status = VI_ERROR_TMO;
    store_count(readCount, 0);
    pthread_mutex_lock(&lock);
    session = find_session(vi);
    if (session == NULL) {
        status = VI_ERROR_INV_OBJECT;
    } else if (count == 0) {
        status = VI_SUCCESS; /* and the buffer may be null */
    } else if (session->answers_size > 0) {
        status = take_answer(session, buffer, count, &size);
    } else {
        timeout_ms = session->timeout_ms;
    }
    pthread_mutex_unlock(&lock);
    /* Without the lock: other sessions go on while this one waits. */
    if (status == VI_ERROR_TMO) {
        wait_in_vain(timeout_ms);
    }
    store_count(readCount, size);
    return status;
}

EXPORTED ViStatus uxClear(ViSession vi) {
    struct session* session;
    pthread_mutex_lock(&lock);
    session = find_session(vi);
    if (session != NULL) {
        session->command_size = 0;
        session->answers_size = 0;
    }
    pthread_mutex_unlock(&lock);
    return session == NULL ? VI_ERROR_INV_OBJECT : VI_SUCCESS;
}

static ViStatus set_attribute(struct session* session, ViAttr attribute, ViAttrState value) {
    switch (attribute) {
    case VI_ATTR_TMO_VALUE:
        session->timeout_ms = value;
        return VI_SUCCESS;
    case VI_ATTR_TERMCHAR_EN:
        session->termchar_enabled = value != VI_FALSE;
        return VI_SUCCESS;
    default:
        return VI_ERROR_NSUP_ATTR;
    }
}

/* As wide as programs know these attributes from the library's own sessions: eight bytes for the
 * time-out, four for the switch. */
static ViStatus get_attribute(const struct session* session, ViAttr attribute, void* value) {
    unsigned int enabled;
    switch (attribute) {
    case VI_ATTR_TMO_VALUE:
        memcpy(value, &session->timeout_ms, sizeof session->timeout_ms);
        return VI_SUCCESS;
    case VI_ATTR_TERMCHAR_EN:
        enabled = session->termchar_enabled ? 1 : 0;
        memcpy(value, &enabled, sizeof enabled);
        return VI_SUCCESS;
    default:
        return VI_ERROR_NSUP_ATTR;
    }
}

EXPORTED ViStatus uxSetAttribute(ViObject vi, ViAttr attribute, ViAttrState value) {
    struct session* session;
    ViStatus status = VI_ERROR_INV_OBJECT;
    pthread_mutex_lock(&lock);
    session = find_session(vi);
    if (session != NULL) {
        status = set_attribute(session, attribute, value);
    }
    pthread_mutex_unlock(&lock);
    return status;
}

EXPORTED ViStatus uxGetAttribute(ViObject vi, ViAttr attribute, void* value) {
    struct session* session;
    ViStatus status = VI_ERROR_INV_OBJECT;
    if (value == NULL) {
        return VI_ERROR_NSUP_ATTR_STATE;
    }
    pthread_mutex_lock(&lock);
    session = find_session(vi);
    if (session != NULL) {
        status = get_attribute(session, attribute, value);
    }
    pthread_mutex_unlock(&lock);
    return status;
}
