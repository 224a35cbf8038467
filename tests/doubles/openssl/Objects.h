#pragma once

// The objects of the double. They are kept when they are freed, so that whoever still uses one is
// caught. The leading fields of certificates and keys lie where the 1.0 series has them; a double
// that has accessors leaves them empty.

struct asn1_string_st {
  int length;
  int type;
  unsigned char* data;
  long flags;
};

struct X509_val_st {
  asn1_string_st* notBefore;
  asn1_string_st* notAfter;
};

struct x509_cinf_st {
  asn1_string_st* version;
  asn1_string_st* serialNumber;
  void* signature;
  void* issuer;
  X509_val_st* validity;
};

struct evp_pkey_st {
  int type;
  int save_type;
  int references;
  const void* ameth;
  void* engine;
  union {
    struct rsa_st* rsa;
  } pkey;
  // From here on the double's own.
  rsa_st* held;
};

struct x509_st {
  x509_cinf_st* cert_info;
  // From here on the double's own.
  x509_cinf_st info;
  X509_val_st validity;
  asn1_string_st serialNumber;
  asn1_string_st notBefore;
  asn1_string_st notAfter;
  evp_pkey_st* publicKey;
};

struct X509_name_st {
  int entries;
};

struct X509_extension_st {
  int critical;
};

struct rsa_st {
  int bits;
};

struct bio_st {
  void* file;
};
