/**
 * @file
 * qvsslinit: makes OpenSSL ready for a web server, and leaves a default certificate behind.
 *
 * Both functions may be called from any thread, at any time, concurrently. Neither lets an
 * exception out or ends the process, and a thread that is cancelled meanwhile finishes the call
 * first, unless its cancellation is of the asynchronous type. What they have to say goes to the
 * trace engine, where one is installed; the one that comes with the library puts errors on standard
 * error until QV_TRACE_OUTPUT names a file. The library itself prints nothing, unless "vantis.ini"
 * asks for it: a file that is read once, when the library is loaded, from the current directory of
 * the process. With [NVE] ShowReleaseAsserts = true in it, each internal check that fails leaves a
 * line on standard error.
 *
 * Names of directories are read and written in the encoding of the process's locale. A host whose
 * directories may have names beyond ASCII calls setlocale(LC_ALL, "") before its first Init, and
 * before it has threads.
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
 * this library and starts OpenSSL; calls only count as long as a handle is out. The very first call
 * of a process, if it succeeds, also sees to it that a default key and certificate exist,
 * "server_0.key" and "server_0.cer" in the directory certstore/server_certs below the one that the
 * environment variable QVPUBAPPDATADIR names, an absolute path, or else below /var/lib/kestrix.
 * Set-user-ID and set-group-ID programs ignore the variable. That they could not be made does not
 * fail the call, but may leave errors in the calling thread's error queue of OpenSSL. To make them
 * takes the time of a 1024-bit key, and up to ten seconds more where another process is making
 * them. Load this library by its name alone or by an absolute path: with a relative one, its
 * directory is looked for from wherever the process is when it calls.
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
