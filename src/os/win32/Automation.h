// Late-bound automation objects: members by name, values without COM types.
//
// An object belongs to the apartment (see ComApartment) of the thread that made it. Failures throw RuntimeError: the
// number is the component's result code, the description names the call, source and text are those of the component.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <variant>

#include "base/Text.h"

struct IDispatch;

namespace ovs::win32 {

// Days since 1899-12-30 00:00.
struct AutomationDate {
  double days = 0;
};

class AutomationObject;

// monostate: null, nothing, or a kind of value that has no place here (arrays, for instance).
using AutomationValue = std::variant<std::monostate, bool, std::int64_t, double, Text, AutomationDate, AutomationObject>;

class AutomationObject {
 public:
  // The object behind a display name, such as "winmgmts:...".
  [[nodiscard]] static AutomationObject FromMoniker(TextView displayName);
  // A new object of the in-process server that is registered under the name.
  [[nodiscard]] static AutomationObject FromProgId(TextView progId);
  // True when the name has a class with a server for this process: one for 32-bit programs alone does not count. Creation
  // may fail nevertheless. To be asked in an apartment.
  [[nodiscard]] static bool IsRegistered(TextView progId);

  // Takes over one reference.
  explicit AutomationObject(IDispatch* owned);

  // Calls a method. Texts, numbers that fit 32 bits, truth values and objects can be passed.
  AutomationValue Call(TextView name, std::initializer_list<AutomationValue> arguments = {}) const;
  [[nodiscard]] AutomationValue Get(TextView property, std::initializer_list<AutomationValue> arguments = {}) const;
  void Put(TextView property, AutomationValue value) const;

  [[nodiscard]] bool Knows(TextView member) const;

  // Hands on the members of a collection, in the order in which it gives them, until `take` answers false. What is no
  // object is passed over.
  void ForEach(const std::function<bool(const AutomationObject& member)>& take) const;

  // The name of its class as its type information gives it, else "Object".
  [[nodiscard]] Text TypeName() const;

 private:
  AutomationValue Invoke(TextView name, std::uint16_t kind, std::initializer_list<AutomationValue> arguments) const;

  std::shared_ptr<IDispatch> object_;
};

// The object in a value; throws RuntimeError when it is none. `what` names the call that gave it.
[[nodiscard]] AutomationObject ObjectOf(AutomationValue value, TextView what);
// True for a value that a component means as true: True, or a number that is not 0.
[[nodiscard]] bool TruthOf(const AutomationValue& value);
// The text in a value; empty when it is none.
[[nodiscard]] Text TextOf(AutomationValue value);
// The number in a value; throws RuntimeError when it is no whole number of 32 bits.
[[nodiscard]] std::int32_t NumberOf(const AutomationValue& value, TextView what);

// A single-threaded apartment from construction to destruction; both belong to one thread. Raises RuntimeError (number 440)
// when the system refuses, as it does on a thread that already is in an apartment of the other kind.
class ComApartment {
 public:
  ComApartment();
  ComApartment(const ComApartment&) = delete;
  ComApartment& operator=(const ComApartment&) = delete;
  ~ComApartment();
};

}  // namespace ovs::win32
