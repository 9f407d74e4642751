#include "VerdictsInOrder.h"

#include <utility>

VerdictsInOrder::VerdictsInOrder(size_t count, Take take) : m_waiting(count), m_take(std::move(take)) {
}

void VerdictsInOrder::done(size_t index, FileVerdict verdict) {
    const std::lock_guard hold(m_lock);
    m_waiting[index] = std::move(verdict);
    for (; m_next < m_waiting.size() && m_waiting[m_next]; ++m_next) {
        m_take(*m_waiting[m_next]);
        m_waiting[m_next].reset();
    }
}
