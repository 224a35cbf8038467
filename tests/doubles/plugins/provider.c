__attribute__((visibility("default"))) int qv_provider_value(void);

int qv_provider_value(void) {
  return 7;
}
