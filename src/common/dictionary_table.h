// The table behind a dictionary handle.
//
// Open addressing over a power-of-two number of buckets, in parallel arrays: two flag bits per
// bucket, sixteen buckets to a word, then the keys, then the values. A bucket costs two bits and
// two pointers; every entry adds one heap block for its key and one for its value. At most 77 % of
// the buckets are occupied, so a lookup takes a few probes whatever the size. Probing goes on by
// growing steps (1, 2, 3 ...), which visits every bucket of a power-of-two table. Growing doubles
// the arrays and moves the entries within them: beyond the arrays it takes only a new set of flags.
#pragma once

#include <cstdint>

namespace tly {

struct DictionaryTable {
  uint32_t n_buckets;    // 0, or a power of two from 4
  uint32_t size;         // live entries
  uint32_t n_occupied;   // live and deleted buckets; below n_buckets, so that every probe ends
  uint32_t upper_bound;  // the n_occupied at which an addition resizes first
  uint32_t* flags;       // per bucket: bit 1 empty, bit 0 deleted, neither for a live entry
  char** keys;           // owned where the bucket is live
  char** vals;           // owned likewise; null is a value
};

}  // namespace tly

struct tly_dict {
  tly::DictionaryTable* table;
};
