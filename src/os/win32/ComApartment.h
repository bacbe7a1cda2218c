// The calling thread's place in the component system.
#pragma once

namespace ovs {

// A single-threaded apartment from construction to destruction; both belong to one thread. Raises RuntimeError (number 440)
// when the system refuses, as it does on a thread that already is in an apartment of the other kind.
class ComApartment {
 public:
  ComApartment();
  ComApartment(const ComApartment&) = delete;
  ComApartment& operator=(const ComApartment&) = delete;
  ~ComApartment();
};

}  // namespace ovs
