// The host's profile service: what the host and other plug-ins call on the profile
// manager. TRemoteProfileManager implements it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/AgentClient.h"
#include "host/PlatformSDK.h"
#include "host/Projects.h"
#include "host/ToolsApi.h"

class IOTARemoteProfileServices {
 public:
  virtual ~IOTARemoteProfileServices() = default;

  // Profiles, defaults and names
  virtual IOTARemoteProfilePtr AddProfile(const std::string& Name, const std::string& PlatformName,
                                          const std::string& HostName, std::int32_t PortNumber,
                                          const TOTARemoteProfileCredential& Credential,
                                          const std::string& SystemRoot, const TOTARemoteProfilePathArray& Paths,
                                          bool AsDefault) = 0;
  virtual void RemoveProfile(const IOTARemoteProfilePtr& Profile) = 0;
  virtual IOTARemoteProfilePtr GetProfile(const std::string& Name) const = 0;
  virtual IOTARemoteProfilePtr GetProfile(const std::string& PlatformName, std::int32_t Index) const = 0;
  virtual std::int32_t GetProfileCount(const std::string& PlatformName) const = 0;
  virtual IOTARemoteProfilePtr GetDefaultForPlatform(const std::string& PlatformName) const = 0;
  virtual void SetAsDefaultForPlatform(const IOTARemoteProfilePtr& Profile) = 0;
  virtual std::string GetSelectedProfile() const = 0;
  virtual std::string GetProfilePlatformName(const std::string& FileName) = 0;
  virtual bool ValidateProfileName(const std::string& Name) = 0;
  virtual void WriteEnvOptions() = 0;

  // Change notification
  virtual std::int32_t AddNotifier(const IOTARemoteProfileNotifierPtr& Notifier) = 0;
  virtual void RemoveNotifier(std::int32_t Index) = 0;

  // Profile files
  virtual void SaveProfile(const IOTARemoteProfilePtr& Profile, const std::string& FileName) = 0;
  virtual IOTARemoteProfilePtr LoadProfile(const std::string& FileName) = 0;
  virtual void MergeRemoteProfile(const IOTARemoteProfilePtr& Profile) = 0;

  // Connection and operation frame
  virtual bool TestConnection(const IOTARemoteProfilePtr& Profile, std::string& ErrorMessage,
                              const IOTAConnectionCallbackPtr& Callback) = 0;
  virtual void BeginOperation(const IOTARemoteProfilePtr& Profile) = 0;
  virtual void EndOperation(const IOTARemoteProfilePtr& Profile) = 0;
  virtual void SetPlatformSDK(const IOTAPlatformSDKPtr& SDK) = 0;

  // File transfer
  virtual bool PutFiles(const IOTARemoteProfilePtr& Profile, const std::vector<TOTAPutFileItem>& Items,
                        TOTAFileOverwriteControl OverwriteControl, const IOTAConnectionCallbackPtr& Callback,
                        const TOTAProgressProc& ProgressProc) = 0;
  virtual bool PutFilesWithProgress(const IOTARemoteProfilePtr& Profile,
                                    const std::vector<TOTAPutFileItem>& Items) = 0;
  virtual bool RemoveRemoteFiles(const IOTARemoteProfilePtr& Profile, const std::vector<std::string>& Files,
                                 const IOTAConnectionCallbackPtr& Callback, const TOTAProgressProc& ProgressProc) = 0;
  virtual bool RemoveRemoteFilesWithProgress(const IOTARemoteProfilePtr& Profile,
                                             const std::vector<std::string>& Files) = 0;

  // SDK file cache
  virtual bool GetProfileFiles(const IOTARemoteProfilePtr& Profile, TOTAFileOverwriteControl OverwriteControl,
                               const IOTAConnectionCallbackPtr& Callback, const TOTAProgressProc& ProgressProc) = 0;
  virtual bool GetProfileFilesWithProgress(const IOTARemoteProfilePtr& Profile) = 0;

  // Remote queries
  virtual std::string ExpandPath(const IOTARemoteProfilePtr& Profile, const std::string& Path,
                                 const IOTAConnectionCallbackPtr& Callback) = 0;
  virtual std::string ExpandAllPaths(const IOTARemoteProfilePtr& Profile, const std::string& Paths,
                                     const IOTAConnectionCallbackPtr& Callback) = 0;
  virtual bool RemoteDirectoryExists(const IOTARemoteProfilePtr& Profile, const std::string& Path,
                                     const IOTAConnectionCallbackPtr& Callback) = 0;
  virtual std::unique_ptr<TRARemoteFileList> BrowseRemoteFileSystem(const IOTARemoteProfilePtr& Profile,
                                                                    const std::string& Path, std::int32_t Depth,
                                                                    bool DirectoriesOnly,
                                                                    const IOTAConnectionCallbackPtr& Callback) = 0;
  virtual bool CreateSymLink(const IOTARemoteProfilePtr& Profile, const std::string& Target,
                             const std::string& LinkName, const IOTAConnectionCallbackPtr& Callback) = 0;
  virtual std::string GetIOSLauncher(const IOTARemoteProfilePtr& Profile, const std::string& Name, bool Simulator,
                                     const IOTAConnectionCallbackPtr& Callback) = 0;
  virtual std::vector<std::string> GetEnvironmentVariables(const IOTARemoteProfilePtr& Profile,
                                                           const IOTAConnectionCallbackPtr& Callback) = 0;

  // Running and debugging
  virtual bool Run(const IOTARemoteProfilePtr& Profile, const std::string& A, const std::string& B,
                   const std::string& C, const std::string& D, const std::string& E,
                   const std::vector<std::string>* Env, const std::string& F, std::string& ErrorText,
                   std::int32_t& ProcessNumber, const IOTAConnectionCallbackPtr& Callback) = 0;
  virtual bool Run(const IOTARemoteProfilePtr& Profile, const std::string& A, const std::string& B,
                   const std::string& C, const std::string& D, const std::string& E,
                   const std::vector<std::string>* Env, const std::string& F, std::string& ErrorText,
                   const IOTAConnectionCallbackPtr& Callback) = 0;
  virtual bool StartRemoteDebugger(const IOTARemoteProfilePtr& Profile, const std::string& A,
                                   TOTAProcessType ProcessType, std::int32_t& N1, std::int32_t& N2,
                                   std::string& ErrorText, const IOTAConnectionCallbackPtr& Callback) = 0;

  // Profile assignment for projects and deploy
  virtual std::uint8_t EnsureProfile(const IOTAProjectPtr& Project, const std::string& PlatformName, bool ForCompile,
                                     std::string& ErrorMessage) = 0;
  virtual std::uint8_t EnsureProfileForCompile(const IOTAProjectPtr& Project, const std::string& PlatformName,
                                               std::string& ErrorMessage) = 0;
  virtual std::uint8_t EnsureProfileForRun(const IOTAProjectPtr& Project, std::string& ErrorMessage) = 0;
  virtual IOTARemoteProfilePtr ExecuteNewProfileWizard(const std::string& PlatformName, bool FixPlatform) = 0;
  virtual std::string ShowSelectProfileDialog(const std::string& PlatformName) = 0;
  virtual void EditProfile(const std::string& ProfileName) = 0;
  virtual bool CanDeployProject(const IOTAProjectPtr& Project, const IOTARemoteProfilePtr& Profile) const = 0;
  virtual bool DeployProject(const IOTAProjectPtr& Project, const IOTARemoteProfilePtr& Profile,
                             const std::string& Config, const std::string& Platform, bool Flag) = 0;
};
using IOTARemoteProfileServicesPtr = std::shared_ptr<IOTARemoteProfileServices>;
