/*
 * qvsslinit.node: the library for Node.js, as an addon. It is linked with the library and has two
 * functions, as the header:
 *
 *     const { init, uninit } = require('./qvsslinit.node');
 *     const handle = init();
 *     uninit(handle);
 *
 * init throws an Error when OpenSSL is not ready. uninit gives the handle back, and does nothing
 * when that was done before; so does the garbage collector with a handle that nobody holds any
 * more. A host calls uninit before it ends all the same: process.exit() collects nothing.
 */
#include <node_api.h>
#include <stdlib.h>

#include "qvsslinit.h"

/* What the handle of JavaScript's side leads to. */
struct Claim {
  struct QvSslInitHandle* handle;
};

static void GiveBack(struct Claim* claim) {
  QVSSLINIT_Uninit(claim->handle);
  claim->handle = NULL;
}

static void Collect(napi_env environment, void* data, void* hint) {
  (void)environment;
  (void)hint;
  GiveBack(data);
  free(data);
}

static napi_value Throw(napi_env environment, const char* message) {
  napi_throw_error(environment, NULL, message);
  return NULL;
}

static napi_value Init(napi_env environment, napi_callback_info call) {
  napi_value result;
  struct Claim* const claim = malloc(sizeof *claim);
  (void)call;
  if (claim == NULL) return Throw(environment, "init: no memory");
  claim->handle = QVSSLINIT_Init();
  if (claim->handle == NULL) {
    free(claim);
    return Throw(environment, "init: OpenSSL is not ready; qvsslinit-doctor tells why");
  }
  if (napi_create_external(environment, claim, Collect, NULL, &result) != napi_ok) {
    Collect(environment, claim, NULL);
    return Throw(environment, "init: no memory");
  }
  return result;
}

static napi_value Uninit(napi_env environment, napi_callback_info call) {
  size_t count = 1;
  napi_value argument;
  void* claim;
  napi_get_cb_info(environment, call, &count, &argument, NULL, NULL);
  if (napi_get_value_external(environment, argument, &claim) != napi_ok) {
    return Throw(environment, "uninit: that is no handle");
  }
  GiveBack(claim);
  return NULL;
}

/* Called once for each JavaScript environment: the main thread's and those of workers. */
NAPI_MODULE_INIT() {
  const napi_property_descriptor functions[] = {
      {"init", NULL, Init, NULL, NULL, NULL, napi_default, NULL},
      {"uninit", NULL, Uninit, NULL, NULL, NULL, napi_default, NULL}};
  napi_define_properties(env, exports, 2, functions);
  return exports;
}
