/// A field that threads read and write without a lock.
#ifndef UTILITIES_FRAME_RELAXED_H
#define UTILITIES_FRAME_RELAXED_H

#include <atomic>

/// Holds a `Value` that each access reads or writes as a whole, at the cost of a plain one. Copying
/// it copies the value. It orders no other memory: fields that must be seen together need more than
/// this.
template <class Value>
class Relaxed {
public:
    constexpr Relaxed(Value value = Value()) noexcept : m_Value(value) {}
    Relaxed(const Relaxed& other) noexcept : m_Value(Value(other)) {}
    Relaxed& operator=(const Relaxed& other) noexcept { return *this = Value(other); }
    ~Relaxed() = default;

    Relaxed& operator=(Value value) noexcept {
        m_Value.store(value, std::memory_order_relaxed);
        return *this;
    }
    operator Value() const noexcept { return m_Value.load(std::memory_order_relaxed); }

private:
    std::atomic<Value> m_Value;
    static_assert(sizeof(std::atomic<Value>) == sizeof(Value), "keeps the size of its value");
};

#endif
