// The three calls are OpenSSL's plain MD5, which it keeps but marks as deprecated.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "tallyra/digest.h"

#include <openssl/md5.h>

uint8_t* tly_MD5(const void* data, size_t length, uint8_t digest[16]) {
  MD5_CTX context;
  MD5_Init(&context);
  MD5_Update(&context, data, length);
  MD5_Final(digest, &context);
  return digest;
}
