// Test fixture: one OpenSSH sshd per test suite and a connected Hestrel client per test.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "ClientTestSupport.h"
#include "client/HestrelClient.h"

namespace hestrel_test {

class TSshdClientTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    Sshd = new TTestSshd;
    ASSERT_TRUE(Sshd->Start()) << Sshd->Log();
  }
  static void TearDownTestSuite() {
    delete Sshd;
    Sshd = nullptr;
  }
  void SetUp() override {
    Client = std::make_shared<hestrel::THestrelClient>("test", AppData.Path().string(), Sshd->Options());
    Client->SetHostName("127.0.0.1");
    Client->SetPort(Sshd->Port());
    Client->SetCredential({"", true, false});
    ASSERT_TRUE(Client->Connect(nullptr)) << Client->GetLastError();
  }

  static inline TTestSshd* Sshd = nullptr;
  TTempDir AppData, Remote, Local;
  std::shared_ptr<hestrel::THestrelClient> Client;
  TRecordingListener Listener;
};

}  // namespace hestrel_test
