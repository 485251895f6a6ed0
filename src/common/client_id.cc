#include "tallyra/client_id.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/owned.h"

namespace {

void print_field(const char* name, size_t offset, size_t size) {
  std::printf(" %-25s  %-8lu  %-lu\n", name, static_cast<unsigned long>(offset),
              static_cast<unsigned long>(size));
}

}  // namespace

char* tly_get_hostname(char* buffer, size_t size) {
  if (buffer == nullptr || size == 0) {
    return nullptr;
  }
  if (const char* const configured = std::getenv("TLY_HOST_NAME")) {
    // Pads with NULs and leaves the last byte alone, so a truncated name ends in the caller's NUL.
    return std::strncpy(buffer, configured, size - 1);
  }
  if (gethostname(buffer, size - 1) != 0) {
    return nullptr;
  }
  if (char* const dot = std::strchr(buffer, '.')) {
    *dot = '\0';
  }
  return buffer;
}

tly_client_id_t* tly_client_id_allocate(void) {
  tly::OwnedHeap<tly_client_id_t> client_id = tly::allocate_zeroed<tly_client_id_t>();
  if (!client_id ||
      tly_get_hostname(client_id->host_name, sizeof client_id->host_name) == nullptr) {
    return nullptr;
  }
  return client_id.release();
}

void tly_client_id_copy(tly_client_id_t* destination, const tly_client_id_t* source) {
  std::memmove(destination->host_name, source->host_name, sizeof destination->host_name);
  destination->port = source->port;
}

void tly_client_id_print(const tly_client_id_t*) {}

void tly_client_id_print_struct_layout(void) {
  std::printf("Client identifier tly_client_id_t\n\n");
  std::printf("Field                 Offset    Size\n");
  print_field("host_name", offsetof(tly_client_id_t, host_name),
              sizeof(tly_client_id_t::host_name));
  print_field("port", offsetof(tly_client_id_t, port), sizeof(tly_client_id_t::port));
}
