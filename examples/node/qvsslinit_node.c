/*
 * qvsslinit.node: the library for Node.js, as an addon. It is linked with the library and has two
 * functions, as the header:
 *
 *     const { init, uninit } = require('./qvsslinit.node');
 *     const handle = init();
 *     uninit(handle);
 *
 * init throws an Error when OpenSSL is not ready. uninit gives the handle back, does nothing when
 * that was done before, and throws a TypeError when it is given anything but a handle. The garbage
 * collector gives back what nobody holds any more. A host calls uninit before it ends all the same:
 * process.exit() collects nothing.
 */
#include <node_api.h>
#include <stdlib.h>

#include "qvsslinit.h"

/* What the handle of JavaScript's side leads to. */
struct Claim {
  struct QvSslInitHandle* handle;
};

/* Tells these handles from the objects of other addons. */
static const napi_type_tag kHandle = {0x9b1f6d0c52e84a73u, 0xa4c7e1385b0d29f6u};

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
  if (napi_create_object(environment, &result) != napi_ok ||
      napi_type_tag_object(environment, result, &kHandle) != napi_ok ||
      napi_wrap(environment, result, claim, Collect, NULL, NULL) != napi_ok) {
    Collect(environment, claim, NULL);
    return Throw(environment, "init: no memory");
  }
  return result;
}

static napi_value Uninit(napi_env environment, napi_callback_info call) {
  size_t count = 1;
  napi_value argument;
  napi_valuetype type = napi_undefined;
  bool ours = false;
  void* claim;
  napi_get_cb_info(environment, call, &count, &argument, NULL, NULL);
  napi_typeof(environment, argument, &type);
  if (type != napi_object ||
      napi_check_object_type_tag(environment, argument, &kHandle, &ours) != napi_ok || !ours ||
      napi_unwrap(environment, argument, &claim) != napi_ok) {
    napi_throw_type_error(environment, NULL, "uninit: that is no handle");
    return NULL;
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
