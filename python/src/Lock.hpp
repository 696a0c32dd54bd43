#pragma once

#include <Host.hpp>

/// The interpreter's lock around runs. A thread that asks for it while the interpreter ends would be unwound through
/// destructors; from then on such threads wait for the end of the process instead.
namespace NORV::TaviPython {

/// Takes the lock again for the thread of that state.
void relock(PyThreadState* state);

/// Without the lock while it lives.
class Unlocked {
public:
  Unlocked() : _state(PyEval_SaveThread()) {}
  Unlocked(const Unlocked&) = delete;
  Unlocked& operator=(const Unlocked&) = delete;
  ~Unlocked() { relock(_state); }

  /// Calls `body` with the lock.
  template <class Body>
  auto locked(const Body& body) {
    relock(_state);
    const struct Again {
      ~Again() { PyEval_SaveThread(); }
    } again;
    return body();
  }

private:
  PyThreadState* _state;
};

/// Gives a reference back, from any thread and with or without the lock. After the end of the interpreter nothing is
/// left to do.
void releaseReference(PyObject* object);

/// Before the interpreter ends, with the lock: returns when no thread is about to take it. The calling thread may go on
/// to run operators.
void endLocking();

}  // namespace NORV::TaviPython
