/*
 * mod_qvsslinit: Apache httpd on the library. OpenSSL is ready, and the default pair is in its
 * place, before the server looks for the certificates that its configuration names; until the
 * server ends.
 *
 *     LoadModule qvsslinit_module /opt/server/lib/mod_qvsslinit.so
 *     QvSslInitLibrary /opt/server/lib/libqvsslinit.so.1
 *
 * Without the second line the dynamic loader looks for the library.
 *
 * The server reads its configuration twice when it starts and once more at each restart, be it
 * graceful or not, and each time it unloads its modules and loads them anew. Nothing of this module
 * lasts as long as the server does, and neither may any pointer into it: what has to last is what
 * the server retains for it. Each time takes a handle before it gives the former one back, so that
 * OpenSSL is not unloaded in between; a restart that gets none keeps the former one.
 *
 * Children have the handles of their parent. Each takes one of its own as well, which shows in the
 * trace, and says so in the error log; without it OpenSSL is ready there all the same. They give
 * none back, for they may end in a signal handler, where Uninit may not be called: their handles go
 * with them.
 */
#include <httpd.h>
/* The server's other headers want that one first. */
#include <apr_strings.h>
#include <dlfcn.h>
#include <http_config.h>
#include <http_core.h>
#include <http_log.h>
#include <util_cfgtree.h>

#include "qvsslinit.h"

extern module AP_MODULE_DECLARE_DATA qvsslinit_module;
APLOG_USE_MODULE(qvsslinit);

typedef struct QvSslInitHandle* InitFunction(void);
typedef void UninitFunction(struct QvSslInitHandle*);

/* The library, and the server's own handle. The library stays in memory once it is there. */
struct Claim {
  InitFunction* init;
  UninitFunction* uninit;
  struct QvSslInitHandle* handle;
};

static const char kLibrary[] = "QvSslInitLibrary";
static struct Claim* server_claim;

static struct Claim* RetainedClaim(void) {
  static const char key[] = "mod_qvsslinit";
  struct Claim* const claim = ap_retained_data_get(key);
  return claim != NULL ? claim : ap_retained_data_create(key, sizeof *claim);
}

/* What the directive says, which the server has read by now but not executed. */
static const char* LibraryFile(apr_pool_t* pool) {
  const char* file = NULL;
  const ap_directive_t* line;
  for (line = ap_conftree; line != NULL; line = line->next) {
    if (ap_cstr_casecmp(line->directive, kLibrary) == 0) {
      const char* arguments = line->args;
      file = ap_getword_conf(pool, &arguments);
    }
  }
  return file;
}

/* Takes a handle; why there is none, or null. */
static const char* Take(struct Claim* claim, apr_pool_t* temporary) {
  const char* const file = LibraryFile(temporary);
  void* library;
  if (file != NULL && !ap_os_is_path_absolute(temporary, file))
    return "QvSslInitLibrary: the path is not absolute";
  library = dlopen(file != NULL ? file : "libqvsslinit.so.1", RTLD_NOW);
  if (library == NULL) return apr_pstrcat(temporary, "QvSslInitLibrary: ", dlerror(), NULL);
  /* C has no conversion from an object pointer to a function pointer; dlsym relies on this one. */
  *(void**)&claim->init = dlsym(library, "QVSSLINIT_Init");
  *(void**)&claim->uninit = dlsym(library, "QVSSLINIT_Uninit");
  if (claim->init == NULL || claim->uninit == NULL) return dlerror();
  claim->handle = claim->init();
  return claim->handle != NULL ? NULL : "OpenSSL is not ready; qvsslinit-doctor tells why";
}

/* Runs whenever the server forgets a configuration, and at its end. */
static apr_status_t GiveBackAtTheEnd(void* data) {
  struct Claim* const claim = data;
  if (ap_state_query(AP_SQ_MAIN_STATE) == AP_SQ_MS_EXITING && claim->handle != NULL) {
    claim->uninit(claim->handle);
    claim->handle = NULL;
  }
  return APR_SUCCESS;
}

/* mod_ssl has not looked for its files yet. */
static int PreConfig(apr_pool_t* configuration, apr_pool_t* log, apr_pool_t* temporary) {
  struct Claim next = {NULL, NULL, NULL};
  const char* problem;
  (void)log;
  server_claim = RetainedClaim();
  apr_pool_cleanup_register(configuration, server_claim, GiveBackAtTheEnd, apr_pool_cleanup_null);
  problem = Take(&next, temporary);
  if (problem != NULL && server_claim->handle != NULL) {
    ap_log_perror(APLOG_MARK, APLOG_CRIT, 0, temporary,
                  "mod_qvsslinit: going on with the former handle: %s", problem);
    return OK;
  }
  if (problem != NULL) {
    ap_log_perror(APLOG_MARK, APLOG_EMERG, 0, temporary, "mod_qvsslinit: %s", problem);
    return HTTP_INTERNAL_SERVER_ERROR;
  }
  if (server_claim->handle != NULL) server_claim->uninit(server_claim->handle);
  *server_claim = next;
  return OK;
}

static void ChildInit(apr_pool_t* child, server_rec* server) {
  (void)child;
  if (server_claim->init() == NULL) {
    ap_log_error(APLOG_MARK, APLOG_WARNING, 0, server,
                 "mod_qvsslinit: no handle for this child, which goes on with its parent's");
  } else {
    ap_log_error(APLOG_MARK, APLOG_INFO, 0, server, "mod_qvsslinit: OpenSSL is ready");
  }
}

/* PreConfig has done what the line says, if it stands where it may. */
static const char* CheckPlace(cmd_parms* command, void* configuration, const char* file) {
  (void)configuration;
  (void)file;
  return ap_check_cmd_context(command, GLOBAL_ONLY);
}

static const command_rec kDirectives[] = {
    AP_INIT_TAKE1(kLibrary, CheckPlace, NULL, RSRC_CONF, "the absolute path of libqvsslinit.so.1"),
    {.name = NULL}};

static void RegisterHooks(apr_pool_t* pool) {
  (void)pool;
  ap_hook_pre_config(PreConfig, NULL, NULL, APR_HOOK_MIDDLE);
  ap_hook_child_init(ChildInit, NULL, NULL, APR_HOOK_MIDDLE);
}

module AP_MODULE_DECLARE_DATA qvsslinit_module = {
    STANDARD20_MODULE_STUFF, NULL, NULL, NULL, NULL, kDirectives, RegisterHooks,
    AP_MODULE_FLAG_NONE};
