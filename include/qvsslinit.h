/**
 * @file
 * qvsslinit: makes OpenSSL ready for a web server, and leaves a default certificate behind.
 *
 * Both functions may be called from any thread, at any time, concurrently. Neither lets an
 * exception out or ends the process, and a thread that is cancelled meanwhile finishes the call
 * first, unless its cancellation is of the asynchronous type. What they have to say goes to the
 * trace engine, where one is installed. Nothing is printed, unless "vantis.ini" asks for it: a file
 * that is read once, when the library is loaded, from the current directory of the process. With
 * [NVE] ShowReleaseAsserts = true in it, each internal check that fails leaves a line on standard
 * error.
 *
 * An Init within a call of the same thread gives null, whoever makes it: a library that is being
 * loaded, whatever OpenSSL or the trace engine calls back meanwhile, a signal handler. At any other
 * moment a signal handler may call neither: both allocate, and wait for locks. Nor may it leave a
 * call by longjmp or pthread_exit.
 *
 * Example:
 *
 *     struct QvSslInitHandle* handle = QVSSLINIT_Init();
 *     if (handle == NULL) { ... OpenSSL is not ready, and there is nothing to give back ... }
 *     ... serve ...
 *     QVSSLINIT_Uninit(handle);
 */
#ifndef QVSSLINIT_H
#define QVSSLINIT_H

/** Shows a function to those who load the library. */
#if defined(__GNUC__)
#define QVSSLINIT_API __attribute__((visibility("default")))
#else
#define QVSSLINIT_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** One component's claim that OpenSSL be ready. Opaque. */
struct QvSslInitHandle;

/**
 * Makes OpenSSL ready and returns a handle that says so, or null.
 *
 * The first call that succeeds loads "libeay32.dylib" and "libssleay32.dylib" from the directory of
 * this library and starts OpenSSL; later calls only count. The very first call of a process, if it
 * succeeds, also sees to it that a default key and certificate exist; that they could not be made
 * does not fail the call. Load this library by an absolute path: "its directory" is otherwise
 * looked for from wherever the process is when it calls.
 *
 * A null result means that OpenSSL is not ready for this caller and that the caller owns nothing.
 * Calling again is allowed and tries to start OpenSSL again, so a repaired installation is noticed;
 * the default certificate has to wait for the next process.
 *
 * The caller owns the handle and gives it back exactly once, with QVSSLINIT_Uninit.
 */
QVSSLINIT_API struct QvSslInitHandle* QVSSLINIT_Init(void);

/**
 * Gives a handle back. The last handle to go unloads OpenSSL: by then no thread may be using it any
 * more. Null is allowed and does nothing. The handle is gone afterwards, whatever happened; passing
 * it a second time is an error that cannot be detected.
 *
 * Exit handlers and static objects of the host may call either function even after the library's
 * own have been destroyed: Init gives null then, and Uninit does nothing. Other threads must be out
 * of both functions by the time that exit() is called.
 *
 * A child process has the handles of its parent and a count of its own. One that was forked off
 * while some thread was in either function has lost what that thread had begun: there Init gives
 * null and Uninit does nothing. A child that is made past fork(), by _Fork() or clone(), cannot be
 * known for one: it may call neither function.
 */
QVSSLINIT_API void QVSSLINIT_Uninit(struct QvSslInitHandle* handle);

#ifdef __cplusplus
}
#endif

#endif
