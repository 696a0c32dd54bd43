#include <Lock.hpp>

#include <unistd.h>

#include <atomic>
#include <thread>

namespace NORV::TaviPython {
namespace {

std::atomic<bool> ending{false};
std::thread::id endingThread;  // set before `ending`
std::atomic<int> taking{0};

/// Whether the calling thread may take the lock; it says when it has it.
bool mayTake() {
  ++taking;
  if (!ending.load() || std::this_thread::get_id() == endingThread) {
    return true;
  }
  --taking;
  return false;
}

}  // namespace

void relock(PyThreadState* state) {
  while (!mayTake()) {
    ::pause();
  }
  PyEval_RestoreThread(state);
  --taking;
}

void releaseReference(PyObject* object) {
  if (Py_IsInitialized() == 0) {
    return;
  }
  if (PyGILState_Check() != 0) {
    Py_DECREF(object);
  } else if (mayTake()) {
    const PyGILState_STATE state = PyGILState_Ensure();
    --taking;
    Py_DECREF(object);
    PyGILState_Release(state);
  }
}

void endLocking() {
  endingThread = std::this_thread::get_id();
  ending.store(true);
  while (taking.load() != 0) {
    Py_BEGIN_ALLOW_THREADS ::usleep(1000);
    Py_END_ALLOW_THREADS
  }
}

}  // namespace NORV::TaviPython
