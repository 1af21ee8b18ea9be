// Remote launch: Run and StartRemoteDebugger, one agent call each inside the light
// operation frame, giving back the agent's error text when they fail.
#include "core/Text.h"
#include "remote/OperationFrame.h"

namespace {

/// The agent's text, or the connection-failed text when it gave none.
std::string FailureText(const TOperationFrame& Frame, const IOTARemoteProfilePtr& Profile) {
  std::string Text = Frame.Client() ? Frame.Client()->GetLastError() : std::string();
  if (Text.empty() && Profile) Text = ConnectionFailedText(Profile->GetHostName(), Profile->GetPortNumber());
  return Text;
}

}  // namespace

bool TRemoteProfileManager::Run(const IOTARemoteProfilePtr& Profile, const std::string& A, const std::string& B,
                                const std::string& C, const std::string& D, const std::string& E,
                                const std::vector<std::string>* Env, const std::string& F, std::string& ErrorText,
                                std::int32_t& ProcessNumber, const IOTAConnectionCallbackPtr& Callback) {
  ProcessNumber = 0;
  ErrorText.clear();
  bool Result = false;
  {
    TOperationFrame Frame(*this, Profile, Callback, nullptr, focAlwaysReplace, "");
    if (Frame.Connect()) {
      // Deliberate: D and E change places on the way to the agent.
      Result = Frame.Client()->Run(A, B, C, E, Env, D, F, ProcessNumber);
      if (!Result) ErrorText = Frame.Client()->GetLastError();
    }
    if (!Result) ErrorText = FailureText(Frame, Profile);
  }  // the frame has reset the callback parameters and released the client
  SendNotify(Profile, pnaAfterRun, Result, ErrorText);  // the error text in the old name's place
  return Result;
}

bool TRemoteProfileManager::Run(const IOTARemoteProfilePtr& Profile, const std::string& A, const std::string& B,
                                const std::string& C, const std::string& D, const std::string& E,
                                const std::vector<std::string>* Env, const std::string& F, std::string& ErrorText,
                                const IOTAConnectionCallbackPtr& Callback) {
  std::int32_t ProcessNumber = 0;
  return Run(Profile, A, B, C, D, E, Env, F, ErrorText, ProcessNumber, Callback);
}

bool TRemoteProfileManager::StartRemoteDebugger(const IOTARemoteProfilePtr& Profile, const std::string& A,
                                                TOTAProcessType ProcessType, std::int32_t& N1, std::int32_t& N2,
                                                std::string& ErrorText, const IOTAConnectionCallbackPtr& Callback) {
  ErrorText.clear();
  bool Result = false;
  TOperationFrame Frame(*this, Profile, Callback, nullptr, focAlwaysReplace, "");
  if (Frame.Connect()) {
    std::int32_t N3 = 0;  // the agent's third integer is not passed back
    Result = Frame.Client()->Debug(A, ProcessType != 2, N1, N2, N3);
    if (!Result) ErrorText = Frame.Client()->GetLastError();
  }
  if (!Result) ErrorText = FailureText(Frame, Profile);
  return Result;  // announces nothing
}
