/// A field that threads read and write without a lock.
#ifndef UTILITIES_LOCKS_RELAXED_H
#define UTILITIES_LOCKS_RELAXED_H

#include <atomic>

/// A `Value` that each access reads or writes whole, as cheap as a plain one, and that a copy takes
/// over by its value. Nothing else is ordered by it: what must be seen together with other fields
/// needs more than this.
template <class Value>
class Relaxed {
public:
    constexpr Relaxed(Value value = Value()) noexcept : stored(value) {}
    Relaxed(const Relaxed& other) noexcept : stored(Value(other)) {}
    Relaxed& operator=(const Relaxed& other) noexcept { return *this = Value(other); }
    ~Relaxed() = default;

    Relaxed& operator=(Value value) noexcept {
        stored.store(value, std::memory_order_relaxed);
        return *this;
    }
    operator Value() const noexcept { return stored.load(std::memory_order_relaxed); }

private:
    std::atomic<Value> stored;
    static_assert(sizeof(std::atomic<Value>) == sizeof(Value), "keeps the size of its value");
};

#endif
