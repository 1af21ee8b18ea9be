// Multicast events: TEventT keeps an ordered handler list; TEvent1 / TEvent2 add typed
// Add, Remove and Send.
//
// The rules every event follows (docs/DECISIONS.md): a handler is identified by the id Add
// returns; adding the same function twice gives two subscriptions; Send walks the handlers
// registered when it starts, skipping any removed meanwhile; a handler added during Send is
// first called by the next Send.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

using THandlerId = std::uint64_t;

template <typename Handler>
class TEventT {
 public:
  std::size_t Count() const { return FHandlers.size(); }

 protected:
  THandlerId InternalAdd(Handler Fn) {
    auto Entry = std::make_shared<TEntry>(TEntry{++FLastId, std::move(Fn), false});
    FHandlers.push_back(Entry);
    return Entry->Id;
  }
  void InternalRemove(THandlerId Id) {
    for (auto It = FHandlers.begin(); It != FHandlers.end(); ++It) {
      if ((*It)->Id == Id) {
        (*It)->Removed = true;
        FHandlers.erase(It);
        return;
      }
    }
  }
  template <typename... Args>
  void InternalSend(Args&&... Arguments) {
    const auto Snapshot = FHandlers;  // the walk is over the handlers present at the start
    for (const auto& Entry : Snapshot)
      if (!Entry->Removed) Entry->Fn(Arguments...);
  }

 private:
  struct TEntry {
    THandlerId Id;
    Handler Fn;
    bool Removed;
  };
  std::vector<std::shared_ptr<TEntry>> FHandlers;
  THandlerId FLastId = 0;
};

template <typename T>
class TEvent1 : public TEventT<std::function<void(const T&)>> {
 public:
  using THandler = std::function<void(const T&)>;
  THandlerId Add(THandler Handler) { return this->InternalAdd(std::move(Handler)); }
  void Remove(THandlerId Id) { this->InternalRemove(Id); }
  /// Calls every handler in registration order; an exception leaves Send at once.
  void Send(const T& Arg) { this->InternalSend(Arg); }
};

template <typename T1, typename T2>
class TEvent2 : public TEventT<std::function<void(const T1&, const T2&)>> {
 public:
  using THandler = std::function<void(const T1&, const T2&)>;
  THandlerId Add(THandler Handler) { return this->InternalAdd(std::move(Handler)); }
  void Remove(THandlerId Id) { this->InternalRemove(Id); }
  void Send(const T1& Arg1, const T2& Arg2) { this->InternalSend(Arg1, Arg2); }
};
