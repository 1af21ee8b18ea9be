// Part 1.3: TEvent1 / TEvent2 and the host-neutral rules of docs/DECISIONS.md.
#include <gtest/gtest.h>

#include "core/Events.h"

TEST(Events, SendCallsHandlersInRegistrationOrder) {
  TEvent2<int, std::string> Event;
  std::vector<std::string> Log;
  Event.Add([&](const int& N, const std::string& S) { Log.push_back("first " + std::to_string(N) + S); });
  Event.Add([&](const int& N, const std::string& S) { Log.push_back("second " + std::to_string(N) + S); });
  Event.Send(1, "x");
  EXPECT_EQ(Log, (std::vector<std::string>{"first 1x", "second 1x"}));
}

TEST(Events, RemoveTakesOnlyThatSubscription) {
  TEvent1<int> Event;
  std::vector<int> Log;
  auto Handler = [&](const int& N) { Log.push_back(N); };
  const auto First = Event.Add(Handler);
  Event.Add(Handler);  // the same function twice: two subscriptions
  Event.Remove(First);
  Event.Send(7);
  EXPECT_EQ(Log, (std::vector<int>{7}));
  EXPECT_EQ(Event.Count(), 1u);
}

TEST(Events, ExceptionInAHandlerStopsTheWalk) {
  TEvent1<int> Event;
  int Called = 0;
  Event.Add([](const int&) { throw std::runtime_error("boom"); });
  Event.Add([&](const int&) { ++Called; });
  EXPECT_THROW(Event.Send(1), std::runtime_error);
  EXPECT_EQ(Called, 0);
}

TEST(Events, HandlerRemovedDuringSendIsNotCalledAndAddedOneWaitsForNextSend) {
  TEvent1<int> Event;
  std::vector<std::string> Log;
  THandlerId Second = 0;
  Event.Add([&](const int&) {
    Log.push_back("first");
    Event.Remove(Second);
    Event.Add([&](const int&) { Log.push_back("late"); });
  });
  Second = Event.Add([&](const int&) { Log.push_back("second"); });
  Event.Send(0);
  EXPECT_EQ(Log, (std::vector<std::string>{"first"}));
}
