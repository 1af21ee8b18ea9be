// Part 3.1: TConnectionListenerAdapter forwards the agent's questions to the caller's callback.
#include <gtest/gtest.h>

#include "doubles/RemoteDoubles.h"
#include "remote/ConnectionListenerAdapter.h"

TEST(ConnectionListenerAdapter, RetryAndAbortForwardToTheCallbackAndReturnItsAnswers) {
  auto Callback = std::make_shared<TConnectionCallbackDouble>();
  TConnectionListenerAdapter Adapter(Callback);
  Callback->RetryAnswer = true;
  EXPECT_TRUE(Adapter.Retry());
  EXPECT_FALSE(Adapter.Abort());
  Callback->RetryAnswer = false;
  Callback->AbortAnswer = true;
  EXPECT_FALSE(Adapter.Retry());
  EXPECT_TRUE(Adapter.Abort());
  EXPECT_EQ(Callback->Log, (std::vector<std::string>{"Retry", "Abort", "Retry", "Abort"}));
}

TEST(ConnectionListenerAdapter, WithoutACallbackBothAnswerFalse) {
  TConnectionListenerAdapter Adapter(nullptr);
  EXPECT_FALSE(Adapter.Retry());
  EXPECT_FALSE(Adapter.Abort());
}

TEST(ConnectionListenerAdapter, KeepsItsCallbackAlive) {
  auto Callback = std::make_shared<TConnectionCallbackDouble>();
  Callback->AbortAnswer = true;
  auto Adapter = std::make_shared<TConnectionListenerAdapter>(Callback);
  std::weak_ptr<TConnectionCallbackDouble> Weak = Callback;
  Callback.reset();
  EXPECT_FALSE(Weak.expired());
  EXPECT_TRUE(Adapter->Abort());
}
