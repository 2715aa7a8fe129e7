/**
 * zorvaneclient.dll: runs a worker and hands out what it reports, for programs in any language that
 * can call C. A session has a thread and a window of its own; its caller needs no message loop.
 *
 *   ZorvaneOptions options = {0};
 *   ZorvaneSession session = 0;
 *   ZorvaneEvent event = {0};
 *   options.size = sizeof(options);
 *   options.entry = "myprogram";
 *   event.size = sizeof(event);
 *   if (zorvane_open(&options, &session, 0) == kZorvaneOk && zorvane_start(session) == kZorvaneOk)
 *       while (zorvane_next_event(session, &event, ZORVANE_NO_LIMIT) == kZorvaneOk &&
 *              event.type != kZorvaneEventEnd)
 *           ...                    (elsewhere, at any time: zorvane_stop(session))
 *   zorvane_close(session);
 *
 * Every function may be called from any thread, also from a callback. None throws, none keeps a
 * pointer that it is given, and no memory changes hands. Texts are UTF-8. All structures are
 * without padding; they only ever grow at their end, which is what `size` is for.
 */
#ifndef ZORVANE_CLIENT_H_
#define ZORVANE_CLIENT_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Define ZORVANE_STATIC where the functions do not come from the DLL. */
#if defined(_WIN32) && !defined(ZORVANE_STATIC) && !defined(ZORVANE_BUILDS_CLIENT)
#define ZORVANE_CALL __declspec(dllimport)
#else
#define ZORVANE_CALL
#endif

/* NOLINTBEGIN(modernize-use-using): this header is C, too. */

/** Version of this interface: the major one in the high, the minor one in the low 16 bits. A DLL
 * serves programs made for its major version and its or a lower minor version. */
#define ZORVANE_CLIENT_VERSION 0x00010001u

/** For a time in milliseconds: without a limit. */
#define ZORVANE_NO_LIMIT 0xFFFFFFFFu

/** What a call answers. */
typedef uint32_t ZorvaneResult;
enum {
    kZorvaneOk = 0,
    /** No event has come in time. */
    kZorvaneTimeout = 1,
    /** There is no such session, or it has been closed, perhaps while the call waited. */
    kZorvaneNoSession = 2,
    /** A pointer, a size or a value makes no sense. */
    kZorvaneBadArgument = 3,
    /** The session runs already; it can be started again after its kZorvaneEventEnd. */
    kZorvaneRunning = 4,
    /** The session has a callback, which takes all events. */
    kZorvaneHasCallback = 5,
    kZorvaneNoMemory = 6,
    /** A call of Windows has failed. */
    kZorvaneCallFailed = 7
};

/** What happened. The members of ZorvaneEvent that belong to it stand behind it. */
typedef uint32_t ZorvaneEventType;
enum {
    /** A worker's process was started; what an earlier one reported no longer counts. */
    kZorvaneEventWorkerStart = 1,
    /** The worker has greeted: entry. */
    kZorvaneEventHello = 2,
    /** What does not change about a GPU, once a worker: gpu, with the readings taken then. */
    kZorvaneEventGpuStatic = 3,
    /** Readings of a GPU, once a second: gpu, without its static members. */
    kZorvaneEventGpu = 4,
    /** The CPU's temperature, once a second: cpuTemperatureCelsius. */
    kZorvaneEventCpu = 5,
    /** Something came that was not understood or not believed: fault, id, text, leftOut. */
    kZorvaneEventError = 6,
    /** Why something is not read: what, id, brief, text, remedy. */
    kZorvaneEventMissing = 7,
    /** No complete round has come for too long, readings count as gone: sinceMs. */
    kZorvaneEventStale = 8,
    /** A round has come after kZorvaneEventStale: sinceMs, the same as there. */
    kZorvaneEventFresh = 9,
    /** All readings of a GPU fail; it is lost, or needs a reset: gpu.index, gpu.busId. */
    kZorvaneEventGpuLost = 10,
    /** It answers again: gpu.index, gpu.busId. */
    kZorvaneEventGpuBack = 11,
    /** What else people should know: id, text. */
    kZorvaneEventNotice = 12,
    /** Ending the worker took a step: stopStep, and why as text. */
    kZorvaneEventStopStep = 13,
    /** The worker has ended: exit, and the end in words as text. */
    kZorvaneEventWorkerExit = 14,
    /** No worker runs, because of zorvane_pause. */
    kZorvaneEventPaused = 15,
    kZorvaneEventResumed = 16,
    /** A worker's process could not be started: call, code, text. kZorvaneEventEnd follows. */
    kZorvaneEventStartFailed = 17,
    /** The last event after a start, no worker runs: endReason. */
    kZorvaneEventEnd = 18
};

/** Steps of ending a worker; each is taken when the one before has not helped. */
typedef uint32_t ZorvaneStopStep;
enum {
    /** The stop message was sent, or will be after the worker's hello. */
    kZorvaneStopAsked = 1,
    /** Its stub window was destroyed, for which the worker looks every five seconds. */
    kZorvaneStopWindowTaken = 2,
    /** Its process was ended by force. AMD's driver service may be left behind. */
    kZorvaneStopForced = 3
};

/** How a worker ended. */
typedef uint32_t ZorvaneExitKind;
enum {
    /** With 0, after it had been asked to. */
    kZorvaneExitOrderly = 1,
    /** With 0, without being asked to; it had nothing to read, for instance. */
    kZorvaneExitByItself = 2,
    /** The host could not load the library; it says why on standard error. */
    kZorvaneExitHostFailure = 3,
    /** It crashed. Vendors' libraries do that. */
    kZorvaneExitCrash = 4
};

/** Why no worker runs any more. */
typedef uint32_t ZorvaneEndReason;
enum {
    /** Because of zorvane_stop. */
    kZorvaneEndStopped = 1,
    /** The worker ended by itself, or crashed and was not to be started again. */
    kZorvaneEndWorkerEnded = 2,
    /** The worker could not be started, or its host reported a failure. */
    kZorvaneEndNotStarted = 3
};

/** Why something that arrived was refused or doubted. */
typedef uint32_t ZorvaneFault;
enum {
    kZorvaneFaultUnknownCode = 1,
    kZorvaneFaultWrongSize = 2,
    kZorvaneFaultNotTerminated = 3,
    kZorvaneFaultBadRecord = 4,
    kZorvaneFaultBadText = 5,
    /** It came from another process's window; it was taken all the same. */
    kZorvaneFaultForeignSender = 6,
    /** A hello names a window that is not the worker's. */
    kZorvaneFaultForeignWindow = 7,
    /** A number that no sensor means; the reading that follows lacks it. */
    kZorvaneFaultImplausible = 8
};

/** ZorvaneOptions.flags. */
enum {
    /** Do not start a worker again that crashed or fell silent. */
    kZorvaneNoRestart = 1,
    /** The worker leaves AMD's driver service installed at its end. */
    kZorvaneKeepDriver = 2
};

/** Clock types, the indices of the clock arrays. */
enum {
    kZorvaneClockGraphics = 0,
    kZorvaneClockSm = 1,
    kZorvaneClockMemory = 2,
    kZorvaneClockVideo = 3,
    kZorvaneClockCount = 4
};

/** A session; 0 is none. The number of a closed one is not used again. */
typedef uint64_t ZorvaneSession;

/** A number, or that there is none. */
typedef struct ZorvaneNumber {
    uint32_t valid; /**< 0: it could not be read, and `value` is 0 */
    uint32_t reserved;
    int64_t value;
} ZorvaneNumber;

/** A short text, or that there is none. */
typedef struct ZorvaneText {
    uint32_t valid;  /**< 0: it could not be read, and the text is empty */
    uint32_t length; /**< in bytes, without the NUL */
    char text[120];  /**< UTF-8 with a NUL; what is too long is cut between characters */
} ZorvaneText;

/** A text for people; empty where there is none. */
typedef struct ZorvaneMessage {
    uint32_t length; /**< in bytes, without the NUL */
    char text[1020]; /**< UTF-8 with a NUL; what is too long is cut between characters */
} ZorvaneMessage;

/** Why zorvane_open failed. Set `size` before the call. */
typedef struct ZorvaneError {
    uint32_t size;
    ZorvaneResult result;
    uint32_t code; /**< Windows' error code; 0 where no call of Windows failed */
    uint32_t reserved;
    ZorvaneText call;    /**< what failed: a call of Windows, or a member of the options */
    ZorvaneMessage text; /**< what is wrong, in words */
} ZorvaneError;

struct ZorvaneEvent;

/** Takes an event on the session's thread. It is gone when the function returns. */
typedef void (*ZorvaneCallback)(void* context, const struct ZorvaneEvent* event);

/**
 * What a session is made with. All zero but `size` gives the defaults. A text ends at its NUL, or
 * after as many bytes as its length says if that is not 0; null and the empty text are the default.
 */
typedef struct ZorvaneOptions {
    uint32_t size;
    uint32_t flags;           /**< a sum of kZorvaneNoRestart and its neighbours */
    const char* host;         /**< path of the host; zorvanehost.exe beside this DLL */
    const char* library;      /**< path of Zorvane.dll; the one beside the host */
    const char* entry;        /**< the worker's name, of which 31 characters come back; "zorvane" */
    const char* words;        /**< further words of the worker's command line, one a line */
    const char* variables;    /**< NAME=VALUE for the worker's environment, one a line */
    ZorvaneCallback callback; /**< null: the events are for zorvane_next_event */
    void* context;            /**< for the callback */
    uint32_t hostLength;
    uint32_t libraryLength;
    uint32_t entryLength;
    uint32_t wordsLength;
    uint32_t variablesLength;
    uint32_t queueLength;    /**< readings that wait for zorvane_next_event at most; 1024 */
    uint32_t staleAfterMs;   /**< silence after which readings count as gone; 5000 */
    uint32_t restartAfterMs; /**< silence after which the worker is started anew; 30000 */
    uint32_t afterAskingMs;  /**< how long the stop message may take to help; 5000 */
    uint32_t afterWindowMs;  /**< how long the loss of its window may; 10000 */
    /* Since version 1.1; a program of version 1.0 says a size of 104 bytes, and has none of it. */
    uint32_t maxAgeSeconds; /**< age at which a worker is ended in order for a new one; 0: never */
    uint32_t reserved;      /**< 0 */
} ZorvaneOptions;

/** How a worker ended. */
typedef struct ZorvaneExit {
    uint32_t processId;
    uint32_t code; /**< the process's exit code */
    ZorvaneExitKind kind;
    uint32_t greeted; /**< 1: its hello had come */
    uint32_t asked;   /**< 1: it had been asked to end */
    uint32_t forced;  /**< 1: it was ended by force, by this session */
    int64_t livedMs;
    ZorvaneNumber restartInMs; /**< not valid: no other worker will be started */
} ZorvaneExit;

/** A GPU. Tell GPUs apart by their bus id; the index may change between boots. */
typedef struct ZorvaneGpu {
    uint32_t index;    /**< from 0 */
    uint32_t count;    /**< GPUs of this PC */
    ZorvaneText busId; /**< "00000000:01:00.0" */
    ZorvaneText name;
    ZorvaneNumber pciDomain;
    ZorvaneNumber pciBus;
    ZorvaneNumber pciDevice;
    ZorvaneNumber pciDeviceId; /**< the device's in the high, the vendor's in the low 16 bits */
    ZorvaneNumber gpuUtilizationPercent; /**< 0 also where only the utilisations failed */
    ZorvaneNumber memoryUtilizationPercent;
    ZorvaneNumber temperatureCelsius;
    ZorvaneNumber fanSpeedPercent; /**< as the driver wants it; may be over 100 */
    ZorvaneNumber clocksMHz[kZorvaneClockCount];
    ZorvaneText serial; /**< kZorvaneEventGpuStatic only, like all below */
    ZorvaneText vbiosVersion;
    ZorvaneText driverVersion;
    ZorvaneNumber totalMemoryKiB;
    ZorvaneNumber maxClocksMHz[kZorvaneClockCount];
} ZorvaneGpu;

/** Something that happened. What does not belong to `type` is 0 and empty. */
typedef struct ZorvaneEvent {
    uint32_t size; /**< set it before the call; more than sizeof(ZorvaneEvent) is filled with 0 */
    ZorvaneEventType type;
    int64_t timeMs;    /**< UTC, milliseconds since 1970 */
    uint64_t dropped;  /**< readings that the queue has lost so far */
    uint32_t workerId; /**< the worker's process; 0: none runs */
    ZorvaneFault fault;
    uint32_t leftOut; /**< errors of the same fault that were not told in the minute before */
    ZorvaneStopStep stopStep;
    ZorvaneEndReason endReason;
    uint32_t code;   /**< Windows' error code */
    int64_t sinceMs; /**< when the last reading came or the worker was started, as timeMs */
    ZorvaneNumber cpuTemperatureCelsius;
    ZorvaneExit exit;
    ZorvaneText entry;
    ZorvaneText call;      /**< the call of Windows that failed */
    ZorvaneText what;      /**< "cpu", "gpu" or "log" */
    ZorvaneText id;        /**< for programs; never changes its meaning */
    ZorvaneText brief;     /**< a few words */
    ZorvaneMessage text;   /**< a sentence, in English */
    ZorvaneMessage remedy; /**< what to do, in whole sentences */
    ZorvaneGpu gpu;
} ZorvaneEvent;

/* NOLINTEND(modernize-use-using) */

/** ZORVANE_CLIENT_VERSION of the DLL. */
ZORVANE_CALL uint32_t zorvane_client_version(void);

/**
 * Makes a session, with its thread. `error` may be null. It holds the DLL in memory until it is
 * closed: a program that frees the DLL earlier takes no code away from under it.
 */
ZORVANE_CALL ZorvaneResult zorvane_open(const ZorvaneOptions* options, ZorvaneSession* session,
                                        ZorvaneError* error);

/** Starts a worker and returns; all that follows comes as events, a failure to start it too. */
ZORVANE_CALL ZorvaneResult zorvane_start(ZorvaneSession session);

/**
 * Asks the worker to end, in order, and returns; kZorvaneEventEnd tells when it has. What does not
 * help in time is followed by the next ZorvaneStopStep; each further call takes the next one at
 * once.
 */
ZORVANE_CALL ZorvaneResult zorvane_stop(ZorvaneSession session);

/**
 * Ends the worker in order until zorvane_resume. Asking a laptop's GPU once a second keeps it
 * awake, and a worker has no other way of not asking.
 */
ZORVANE_CALL ZorvaneResult zorvane_pause(ZorvaneSession session);
ZORVANE_CALL ZorvaneResult zorvane_resume(ZorvaneSession session);

/**
 * Waits for the next event, for `timeoutMs` at most. When the queue is full the oldest readings
 * (kZorvaneEventGpu and kZorvaneEventCpu) go and are counted; other events stay.
 */
ZORVANE_CALL ZorvaneResult zorvane_next_event(ZorvaneSession session, ZorvaneEvent* event,
                                              uint32_t timeoutMs);

/**
 * Ends a session in whatever state. A worker that still runs is let go: it ends in order when it
 * misses its stub window, within some five seconds. Stop a session and wait for its
 * kZorvaneEventEnd if it matters that the worker has ended. Returns when the callback will not be
 * called any more; from the callback it returns at once, and this call of the callback is the last.
 */
ZORVANE_CALL ZorvaneResult zorvane_close(ZorvaneSession session);

/** A result in English words. Never null. */
ZORVANE_CALL const char* zorvane_result_text(ZorvaneResult result);

/** The name of an event as in zorvanemon's JSON lines: "worker_exit". "unknown" for others. */
ZORVANE_CALL const char* zorvane_event_name(ZorvaneEventType type);

#undef ZORVANE_CALL

#ifdef __cplusplus
}
#endif

#endif /* ZORVANE_CLIENT_H_ */
