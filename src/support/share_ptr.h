// Counted handles of the XML object model: the count holder and the handle template.
#ifndef SARVIK_SUPPORT_SHARE_PTR_H_
#define SARVIK_SUPPORT_SHARE_PTR_H_

#include <cstdint>

namespace Vexil {

// Holds the count of one share group. Freeing the integer is the business of the handle that
// brings it to zero, never of this class.
class CShareCounter {
 public:
  virtual ~CShareCounter() = default;

  // On the heap; null while no share exists.
  uint32_t* count = nullptr;
};

// A reference-counted handle. All handles that hold one count form a share group, and the count
// is the size of the group; two groups may hold the same pointer with counts of their own. When a
// group's count reaches zero the deleter, if any, is called with the pointer; the deleter may
// decide to do nothing. The count is a plain integer: all handles of one group must stay on one
// thread. The derived handle does the copying, as it knows its default deleter.
template <class T>
class CSharePtr {
 public:
  using Deleter = void (*)(T*);

  CSharePtr() = default;
  CSharePtr(const CSharePtr&) = delete;
  CSharePtr& operator=(const CSharePtr&) = delete;

  // Gives up this handle's share. A deleter that throws here ends the process.
  virtual ~CSharePtr() { EndShare(); }

  // Makes this handle the first of a new group over `p`, unless it holds `p` already; sets the
  // deleter to `d` in every case. A null `p` replacing a set pointer leaves a count of 1 that
  // nobody frees, as the handle counts as empty from then on; it costs one integer, and the
  // service never resets a handle to null.
  virtual void Reset(T* p, Deleter d) {
    if (p != ptr) {
      Release();
      uint32_t* fresh = new uint32_t(1);
      ptr = p;
      counter.count = fresh;
    }
    deleter = d;
  }

  // Joins the group of `other`. A handle that holds the same pointer already, whatever its
  // group, stays as it is.
  virtual void Assign(const CSharePtr& other) {
    if (other.ptr == ptr) return;
    Release();
    ptr = other.ptr;
    counter.count = other.counter.count;
    if (counter.count != nullptr) ++*counter.count;
    deleter = other.deleter;
  }

  // Gives up this handle's share and empties it if it was the last. A handle that was not the
  // last keeps its pointer and count, so a second Release counts again: Release comes right
  // before Reset or Assign, which overwrite both, so clearing them here would be wasted.
  virtual void Release() {
    if (EndShare()) {
      ptr = nullptr;
      deleter = nullptr;
    }
  }

  T* Get() const { return ptr; }
  uint32_t* GetCount() const { return counter.count; }
  Deleter GetDeleter() const { return deleter; }

 protected:
  T* ptr = nullptr;
  CShareCounter counter;
  Deleter deleter = nullptr;

 private:
  // Takes one off the count; at zero frees it and hands `ptr` to the deleter. True then.
  bool EndShare() {
    if (ptr == nullptr) return false;
    if (--*counter.count != 0) return false;
    delete counter.count;
    counter.count = nullptr;
    if (deleter != nullptr) deleter(ptr);
    return true;
  }
};

}  // namespace Vexil

#endif  // SARVIK_SUPPORT_SHARE_PTR_H_
