/* The data serializer: the buffer of an agent's into which event providers write their events.
 *
 * The agent owns the record, the type system and the data area, and consumes and resets what was
 * written. The data area is a sequence of events records without gaps, each a tly_events_header_t
 * and `count` events of one type, back to back.
 *
 * Running out of space is no error; without a buffer there is none. A null serializer or null
 * events write nothing. A schema or type index that the type system does not hold is a type of size
 * 0. The functions change the record only when they write or reserve. A serializer is used by one
 * thread at a time. */
#ifndef TALLYRA_DATA_SERIALIZER_H
#define TALLYRA_DATA_SERIALIZER_H

#include <stdint.h>

#include "tallyra/counter_data.h"
#include "tallyra/export.h"
#include "tallyra/type_system.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Bytes before the events of a record. */
#define TLY_EVENTS_HEADER_SIZE 16

/* Those bytes. A record may begin anywhere, so that the header has no alignment. */
typedef struct tly_events_header {
  tly_magic_value_t magic; /* type letter 'E' */
  uint8_t timestamp[8];    /* microseconds since the Unix epoch, CLOCK_REALTIME, in host order */
  uint8_t schema_index;    /* the schema's slot in the type system */
  uint8_t type_index;      /* within that schema */
  uint8_t padding;         /* 0 */
  uint8_t count;           /* of the events that follow */
} tly_events_header_t;

typedef struct tly_data_serializer {
  tly_type_system_t* type_system;
  uint8_t* buffer;
  uint64_t capacity; /* bytes of the data area */
  uint64_t used;     /* bytes written; the next record begins there */
} tly_data_serializer_t;

/* Writes as many of the events as fit, as one record; returns their number, 0 when not one fits,
 * and then nothing is written. An error message, at most one in 10 seconds, when the type's size is
 * 0. The first form stamps the record with the time given, in microseconds, the second with the
 * time now. */
TLY_API uint32_t tly_data_serializer_write_events_ts(tly_data_serializer_t* serializer,
                                                     uint8_t schema_index, uint8_t type_index,
                                                     const void* events, uint8_t count,
                                                     uint64_t timestamp_us);
TLY_API uint32_t tly_data_serializer_write_events(tly_data_serializer_t* serializer,
                                                  uint8_t schema_index, uint8_t type_index,
                                                  const void* events, uint8_t count);

/* Begins a record of exactly `count` events, which the caller then writes at the address returned;
 * their bytes go through `size`, when given. Null when they do not fit, or when the header does
 * not. The address has no alignment. The type is not checked: for one of size 0 a header is written
 * that no bytes follow; ask for the capacity first. */
TLY_API void* tly_data_serializer_get_events_buffer(tly_data_serializer_t* serializer,
                                                    uint8_t schema_index, uint8_t type_index,
                                                    uint8_t count, uint64_t* size);

/* Reserves bytes without a header; null when they do not fit. */
TLY_API void* tly_data_serializer_reserve_buffer(tly_data_serializer_t* serializer, uint64_t size);

/* The number of events of the type for which one more record would have the bytes; a record holds
 * 255 at most. 0 with an error message, at most one in 10 seconds, when the type's size is 0. */
TLY_API uint64_t tly_data_serializer_get_capacity(const tly_data_serializer_t* serializer,
                                                  uint8_t schema_index, uint8_t type_index);

#ifdef __cplusplus
}
#endif

#endif
