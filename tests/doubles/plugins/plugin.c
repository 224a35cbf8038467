__attribute__((visibility("default"))) int qv_plugin_answer(void);

int qv_plugin_answer(void) {
  return 42;
}
