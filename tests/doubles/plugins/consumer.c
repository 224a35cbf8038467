int qv_provider_value(void);
__attribute__((visibility("default"))) int qv_consumer_value(void);

int qv_consumer_value(void) {
  return qv_provider_value() + 1;
}
