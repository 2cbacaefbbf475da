#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

namespace scanner {

// Lets one thread at a time work on one content. A key that is present in a cache is never replaced, so two threads
// must not both miss, scan and store the same content: the second one waits here and is then answered by the cache.
class ContentGate {
  public:
    // Held while a thread asks for, scans and stores a content. Waits in its constructor while another thread holds a
    // pass for the same MD5.
    class Pass {
      public:
        Pass(ContentGate& gate, std::string const& md5);
        ~Pass();
        Pass(Pass const&) = delete;
        Pass& operator=(Pass const&) = delete;

      private:
        ContentGate& gate_;
        std::string const& md5_;
    };

  private:
    std::mutex mutex_;  // guards in_flight_; never held while a file is worked on
    std::condition_variable left_;
    std::vector<std::string const*> in_flight_;  // at most one per thread
};

}  // namespace scanner
