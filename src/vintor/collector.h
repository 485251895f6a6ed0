// The collector: samples the tool on a thread of its own and serves the latest sample to reads.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tallyra/counter_group.h"
#include "vintor/offset_table.h"
#include "vintor/value_map.h"

namespace vintor::collector {

// Two threads meet here: the agent's and the sampling thread. The mutex guards the installed value
// map; the running flag is atomic. One thread at a time takes samples; as nobody else installs
// them, it may look at the installed one without the mutex. The offset table belongs to the agent's
// thread, so addGroup() and fillBuffer() must not overlap.
class Collector {
 public:
  Collector() = default;
  Collector(const Collector&) = delete;
  Collector& operator=(const Collector&) = delete;
  ~Collector();

  // Starts the sampling thread; false when there is one, throws when it cannot be made.
  bool startCollection();
  // Joins the sampling thread: waits for the tool run and the pause under way. The last sample
  // stays readable.
  void stopCollection();
  // Has the sampling thread end by itself, after the sample and the pause under way.
  void abandonCollection() { is_running_ = false; }

  // Whether there is a sampling thread that this one cannot join: it is this one, or it belongs to
  // the process that this one was forked from. Such a collector must not be destroyed.
  bool isOutOfReach() const;

  // Takes one sample. False when it was dropped; the one before it then stays installed.
  bool doCollection();

  // Registers the group's counters for reads. A counter at an offset in use takes it over.
  bool addGroup(tly_counter_group_t* group);
  // Writes 8 bytes per counter of the group; nothing at all before the first sample.
  bool fillBuffer(tly_counter_group_t* group, tly_counter_value_t* values);

  // The values of a whole output of the tool, which is cut up on the way; null when a part of it is
  // unusable. The names are shared with the sample before, if they are the same.
  static std::unique_ptr<ValueMap> buildValueMap(char* output, std::uint64_t length,
                                                 const ValueMap* before);
  // Makes a sample the one that reads see, as a whole.
  void install(std::unique_ptr<ValueMap> sampled);
  // Leaf callback of the JSON walk: hands one value to the ValueMapBuilder that is the context. The
  // key path begins with the section's name.
  static void addValueCallback(std::vector<std::string>& key_path, double value, void* context);

 private:
  void collectionLoop();
  bool sample();

  std::unique_ptr<ValueMap> value_map_;  // null before the first sample
  OffsetTable offsets_;
  std::mutex mutex_;
  std::thread thread_;
  pid_t thread_process_ = 0;
  std::atomic<bool> is_running_{false};
};

}  // namespace vintor::collector
