// A fixed table of callback slots and the trampolines that read them. Static storage only,
// constant-initialised: the host may load the add-on several times, and nothing here may run
// a constructor that touches the host.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <mutex>
#include <utility>

namespace Velmora::Archicad {

template <typename Key, typename PortProc, std::size_t N>
class SlotTable {
public:
    // The slot already keyed so (its handler replaced) or a free one; -1 when all are taken.
    int Claim(Key key, PortProc* handler) {
        std::lock_guard<std::mutex> lock(mutex_);
        int freeSlot = -1;
        for (std::size_t slot = 0; slot < N; ++slot) {
            if (used_[slot] && keys_[slot] == key)
                return Store(slot, handler);
            if (!used_[slot] && freeSlot < 0)
                freeSlot = static_cast<int>(slot);
        }
        if (freeSlot < 0)
            return -1;
        used_[static_cast<std::size_t>(freeSlot)] = true;
        keys_[static_cast<std::size_t>(freeSlot)] = key;
        return Store(static_cast<std::size_t>(freeSlot), handler);
    }

    PortProc* Handler(std::size_t slot) const { return handlers_[slot].load(); }

private:
    int Store(std::size_t slot, PortProc* handler) {
        handlers_[slot].store(handler);
        return static_cast<int>(slot);
    }

    std::mutex mutex_;
    bool used_[N] = {};
    Key keys_[N] = {};
    std::atomic<PortProc*> handlers_[N] = {};
};

// Kind supplies HostProc (the host's function type), PortProc, Key, kSlots, a static table
// and a static Forward(PortProc*, host arguments...).
template <typename Kind, std::size_t Slot, typename Signature>
struct Trampoline;

template <typename Kind, std::size_t Slot, typename Result, typename... Args>
struct Trampoline<Kind, Slot, Result(Args...)> {
    static Result Call(Args... args) { return Kind::Forward(Kind::table.Handler(Slot), args...); }
};

template <typename Kind, std::size_t... Slots>
constexpr std::array<typename Kind::HostProc*, sizeof...(Slots)>
MakeTrampolines(std::index_sequence<Slots...>) {
    return {{&Trampoline<Kind, Slots, typename Kind::HostProc>::Call...}};
}

template <typename Kind>
typename Kind::HostProc* ClaimTrampoline(typename Kind::Key key, typename Kind::PortProc* handler) {
    static constexpr auto kTrampolines =
        MakeTrampolines<Kind>(std::make_index_sequence<Kind::kSlots>());
    int const slot = Kind::table.Claim(key, handler);
    return slot < 0 ? nullptr : kTrampolines[static_cast<std::size_t>(slot)];
}

} // namespace Velmora::Archicad
