/*
 * Reference counting of the platform: RefBase with intrusive strong and weak counts, and the smart
 * pointers sptr (strong) and wptr (weak).
 *
 * On this host an object whose owner controls its lifetime (a system ability, a singleton) calls
 * ExtendObjectLifetime(): reference counting then never deletes it. Every other RefBase object is
 * deleted when its last strong reference goes.
 */
#ifndef PLATFORM_REFBASE_H
#define PLATFORM_REFBASE_H

#include <atomic>
#include <cstddef>
#include <utility>

namespace OHOS {

class RefBase {
public:
    RefBase() = default;
    RefBase(const RefBase&) = delete;
    RefBase& operator=(const RefBase&) = delete;
    virtual ~RefBase() = default;

    void IncStrongRef(const void* objectId = nullptr);
    void DecStrongRef(const void* objectId = nullptr);
    int GetSptrRefCount() const { return strong_.load(); }

    // Strong references no longer decide the object's lifetime: its owner deletes it (or it is
    // static). Called by objects that hand out sptr to themselves but are not heap-owned by them.
    void ExtendObjectLifetime() { extended_.store(true); }

    // Weak references only keep the control block; AttemptIncStrongRef succeeds while the object
    // still has a strong reference or its lifetime is extended.
    bool AttemptIncStrongRef(const void* objectId = nullptr);

    virtual void OnFirstStrongRef(const void* /*objectId*/) {}
    virtual void OnLastStrongRef(const void* /*objectId*/) {}

private:
    std::atomic<int> strong_{0};
    std::atomic<bool> extended_{false};
};

inline void RefBase::IncStrongRef(const void* objectId)
{
    if (strong_.fetch_add(1) == 0) {
        OnFirstStrongRef(objectId);
    }
}

inline void RefBase::DecStrongRef(const void* objectId)
{
    if (strong_.fetch_sub(1) == 1) {
        OnLastStrongRef(objectId);
        if (!extended_.load()) {
            delete this;
        }
    }
}

inline bool RefBase::AttemptIncStrongRef(const void* objectId)
{
    int current = strong_.load();
    while (current > 0 || extended_.load()) {
        if (strong_.compare_exchange_weak(current, current + 1)) {
            if (current == 0) {
                OnFirstStrongRef(objectId);
            }
            return true;
        }
    }
    return false;
}

template <typename T>
class sptr {
public:
    sptr() = default;
    sptr(std::nullptr_t) {}       // NOLINT(google-explicit-constructor): the platform allows sptr<T> p = nullptr
    sptr(T* other) : ptr_(other)  // NOLINT(google-explicit-constructor)
    {
        if (ptr_ != nullptr) {
            ptr_->IncStrongRef(this);
        }
    }
    sptr(const sptr& other) : sptr(other.ptr_) {}
    sptr(sptr&& other) noexcept : ptr_(std::exchange(other.ptr_, nullptr)) {}
    template <typename O>
    sptr(const sptr<O>& other) : sptr(other.GetRefPtr())  // NOLINT(google-explicit-constructor)
    {
    }
    ~sptr() { clear(); }

    sptr& operator=(const sptr& other)
    {
        sptr(other).swap(*this);
        return *this;
    }
    sptr& operator=(sptr&& other) noexcept
    {
        sptr(std::move(other)).swap(*this);
        return *this;
    }
    sptr& operator=(T* other)
    {
        sptr(other).swap(*this);
        return *this;
    }
    sptr& operator=(std::nullptr_t)
    {
        clear();
        return *this;
    }

    void clear()
    {
        if (ptr_ != nullptr) {
            std::exchange(ptr_, nullptr)->DecStrongRef(this);
        }
    }
    void swap(sptr& other) noexcept { std::swap(ptr_, other.ptr_); }

    T* GetRefPtr() const { return ptr_; }
    T* operator->() const { return ptr_; }
    T& operator*() const { return *ptr_; }
    explicit operator bool() const { return ptr_ != nullptr; }
    operator T*() const { return ptr_; }  // NOLINT(google-explicit-constructor): as on the platform

    bool operator==(std::nullptr_t) const { return ptr_ == nullptr; }
    bool operator!=(std::nullptr_t) const { return ptr_ != nullptr; }
    template <typename O>
    bool operator==(const sptr<O>& other) const
    {
        return ptr_ == other.GetRefPtr();
    }
    template <typename O>
    bool operator!=(const sptr<O>& other) const
    {
        return ptr_ != other.GetRefPtr();
    }

    template <typename... Args>
    static sptr<T> MakeSptr(Args&&... args)
    {
        return sptr<T>(new T(std::forward<Args>(args)...));
    }

private:
    T* ptr_ = nullptr;
};

}  // namespace OHOS

#endif  // PLATFORM_REFBASE_H
