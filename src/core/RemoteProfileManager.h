// Profile manager. Its operations on the settings store, profile files, the remote agent and
// projects are implemented in the .cpp files of their own subsystems: persistence/, remote/,
// deploy/.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "core/Events.h"
#include "core/ProfileNameIndex.h"
#include "core/RemoteProfile.h"
#include "core/RemoteProfileFwd.h"
#include "host/AgentClient.h"
#include "host/CustomIniFile.h"
#include "host/Projects.h"
#include "host/RemoteProfileServices.h"

enum TProfileNameValidationError { pnveNone, pnveBadFileName, pnveDuplicate };

/// The longest profile name, in UTF-8 bytes, whose file "<name>.profile" fits in one file-name
/// component: NAME_MAX (255) minus ".profile" (docs/DECISIONS.md). A longer name fails the
/// file-name rule (pnveBadFileName, the bad-file-name message).
inline constexpr std::size_t MaxProfileNameBytes = 255 - 8;

/// The file-name character rule of profile names: not longer than MaxProfileNameBytes, no
/// control character, none of  " * / : < > ? \ |  and not made only of dots and blanks ("."
/// and ".." name a directory, never a file). An empty name passes: it has its own message.
bool HasValidFileNameChars(const std::string& Name);
/// Removes a profile file when there is one; "" and a missing file are no error.
void RemoveProfileFile(const std::string& FileName);

/// What SendNotify announces, in the host's order; any other value announces nothing.
enum TProfileNotifyAction { pnaAdded, pnaRemoved, pnaNameChanged, pnaChanged, pnaAfterRun, pnaAfterDeploy };

/// The profiles of each parent platform, in order; index 0 is the platform's default.
using TProfileList = std::vector<IOTARemoteProfilePtr>;
/// Platform name (exact key) to its list; iterated in key order (docs/DECISIONS.md).
using TProfileDictionary = std::map<std::string, TProfileList>;

/// The program's own view of a manager.
class IRemoteProfileManager {
 public:
  virtual ~IRemoteProfileManager() = default;
  virtual void Assign(const IRemoteProfileManagerPtr& Source) = 0;
  virtual const TProfileDictionary& GetProfiles() const = 0;
  virtual bool ValidateProfileName(const std::string& Name) = 0;
  virtual IOTARemoteProfilePtr LoadProfile(const std::string& FileName) = 0;
};

/// Connection callback, progress procedure and state of the remote operation under way.
struct TProfileManagerCallbackParams {
  IOTAConnectionCallbackPtr Callback;
  TOTAProgressProc ProgressProc;
  TOTAFileOverwriteControl OverwriteControl = focAlwaysReplace;
  std::uint8_t OperationState = 1;  ///< 1 running, 2 cancelled by the user
  std::string ByteCountFormat;
};

/// The platform whose list holds a platform's profiles: "iOSSimulator" / "iOSDevice" (any
/// case) share "OSX32"'s list; every other platform has its own.
std::string ParentPlatform(const std::string& PlatformName);

class TRemoteProfileManager : public IOTARemoteProfileServices,
                              public IRemoteProfileManager,
                              public IConnectionListener,
                              public IFileListener,
                              public IFileIteration,
                              public std::enable_shared_from_this<TRemoteProfileManager> {
 public:
  /// Constructor `Create` (Settings): with a store, loads it at once (LoadOptions); without
  /// one, the manager starts empty (an editable copy). Always made through this factory,
  /// because profiles hold the manager's callbacks through a weak reference.
  static TRemoteProfileManagerPtr Create(const TCustomIniFilePtr& Settings);
  /// An editable copy for the options page: no store, and its changes are announced to its
  /// own notifiers only, never to the class events, so projects hear of an edit only when the
  /// copy is committed to the live manager.
  static TRemoteProfileManagerPtr CreateWorkingCopy();
  ~TRemoteProfileManager() override;
  TRemoteProfileManager(const TRemoteProfileManager&) = delete;
  TRemoteProfileManager& operator=(const TRemoteProfileManager&) = delete;

  // ---- Profiles, defaults and names ------------------------------------------------
  IOTARemoteProfilePtr AddProfile(const std::string& Name, const std::string& PlatformName,
                                  const std::string& HostName, std::int32_t PortNumber,
                                  const TOTARemoteProfileCredential& Credential, const std::string& SystemRoot,
                                  const TOTARemoteProfilePathArray& Paths, bool AsDefault) override;
  void AddProfile(const IOTARemoteProfilePtr& Profile);
  void RemoveProfile(const IOTARemoteProfilePtr& Profile) override;
  IOTARemoteProfilePtr GetProfile(const std::string& Name) const override;
  IOTARemoteProfilePtr GetProfile(const std::string& PlatformName, std::int32_t Index) const override;
  std::int32_t GetProfileCount(const std::string& PlatformName) const override;
  const TProfileDictionary& GetProfiles() const override { return FProfiles; }
  IOTARemoteProfilePtr GetDefaultForPlatform(const std::string& PlatformName) const override;
  void SetAsDefaultForPlatform(const IOTARemoteProfilePtr& Profile) override;
  std::string GetSelectedProfile() const override { return FSelectedProfile; }
  std::string GetProfilePlatformName(const std::string& FileName) override;
  void WriteEnvOptions() override;
  TProfileNameValidationError InternalValidateProfileName(const std::string& Name, std::string& Message) const;
  bool ValidateProfileName(const std::string& Name) override;
  void Assign(const IRemoteProfileManagerPtr& Source) override;
  TCustomIniFilePtr GetSettings() const { return FSettings; }

  // ---- Change notification ---------------------------------------------------------
  std::int32_t AddNotifier(const IOTARemoteProfileNotifierPtr& Notifier) override;
  void RemoveNotifier(std::int32_t Index) override;
  void SendNotify(const IOTARemoteProfilePtr& Profile, TProfileNotifyAction Action, bool Success,
                  const std::string& OldName);
  /// Renames: current (old) name to new name, in the order the options page collected them.
  void NotifyRenames(const std::vector<std::pair<std::string, std::string>>& Renames);

  // ---- Settings store --------------------------------------------------------------
  void LoadOptions(TCustomIniFile& Settings);
  void SaveOptions(TCustomIniFile& Settings);
  void SaveProfile(const IOTARemoteProfilePtr& Profile, TCustomIniFile* Ini, const std::string& FileName);
  void SaveProfile(const IOTARemoteProfilePtr& Profile, const std::string& FileName) override;

  // ---- Profile files ---------------------------------------------------------------
  static std::string GetProfileFileName(const std::string& ProfileName);
  void SaveProfileFile(const std::string& FileName, const std::string& ProfileName, const std::string& Platform,
                       const std::string& HostName, std::int32_t Port, const TRACredential& Credential,
                       const std::string& LocalRoot, const TRAPathItems& IncludePaths,
                       const TRAPathItems& LibraryPaths, const TRAPathItems& OtherPaths,
                       const TRAPathItems& FrameworkPaths);
  /// ProfileName is in and out: the name whose default file is read when FileName is
  /// empty, and the name found in the file afterwards (LoadOptions relies on it).
  bool LoadProfileFile(const std::string& FileName, std::string& ProfileName, std::string& Platform,
                       std::string& HostName, std::int32_t& Port, TOTARemoteProfileCredential& Credential,
                       std::string& LocalRoot, TOTARemoteProfilePathArray& Paths, bool Confirm);
  IOTARemoteProfilePtr LoadProfile(const std::string& FileName) override;
  void MergeRemoteProfile(const IOTARemoteProfilePtr& Profile) override;

  // ---- Agent client, operation frame and progress ----------------------------------
  TRAClientPtr ClientFromProfile(const IOTARemoteProfilePtr& Profile, bool SetSysRoot);
  void ReleaseProfileClient(const IOTARemoteProfilePtr& Profile);
  void BeginOperation(const IOTARemoteProfilePtr& Profile) override;
  void EndOperation(const IOTARemoteProfilePtr& Profile) override;
  void SetPlatformSDK(const IOTAPlatformSDKPtr& SDK) override;
  IOTAPlatformSDKPtr GetPlatformSDK() const { return FPlatformSDK; }
  void SetCallbackParams(const IOTAConnectionCallbackPtr& Callback, const TOTAProgressProc& ProgressProc,
                         TOTAFileOverwriteControl OverwriteControl, std::uint8_t OperationState,
                         const std::string& ByteCountFormat);
  const TProfileManagerCallbackParams& GetCallbackParams() const { return FCallbackParams; }
  bool UpdateProgress(TOTAProgressType ProgressType, std::int32_t Index, std::int32_t Count, const std::string& Text,
                      const std::string& Detail1, const std::string& Detail2, std::int32_t Position);
  bool UpdateProgressForm(TOTAProgressType ProgressType, std::int32_t Index, std::int32_t Count,
                          const std::string& Text, const std::string& Detail1, const std::string& Detail2,
                          std::int32_t Position);
  /// UpdateProgressForm bound to this manager, as the WithProgress operations pass it.
  TOTAProgressProc ProgressFormProc();
  bool TestConnection(const IOTARemoteProfilePtr& Profile, std::string& ErrorMessage,
                      const IOTAConnectionCallbackPtr& Callback) override;
  bool Retry() override;  // IConnectionListener
  bool Abort() override;

  // ---- File transfer ---------------------------------------------------------------
  bool PutFiles(const IOTARemoteProfilePtr& Profile, const std::vector<TOTAPutFileItem>& Items,
                TOTAFileOverwriteControl OverwriteControl, const IOTAConnectionCallbackPtr& Callback,
                const TOTAProgressProc& ProgressProc) override;
  bool PutFilesWithProgress(const IOTARemoteProfilePtr& Profile, const std::vector<TOTAPutFileItem>& Items) override;
  bool RemoveRemoteFiles(const IOTARemoteProfilePtr& Profile, const std::vector<std::string>& Files,
                         const IOTAConnectionCallbackPtr& Callback, const TOTAProgressProc& ProgressProc) override;
  bool RemoveRemoteFilesWithProgress(const IOTARemoteProfilePtr& Profile,
                                     const std::vector<std::string>& Files) override;
  // IFileListener
  bool Overwrite(const std::string& FileName, TDateTime Time1, std::int64_t Size1, TDateTime Time2,
                 std::int64_t Size2) override;
  std::uint8_t BytesCopied(const std::string& S1, const std::string& S2, const std::string& S3, std::int64_t Done,
                           std::int64_t Total, TStream* Stream) override;
  void PreCopy(const std::string& S1, const std::string& S2, const std::string& S3, std::int64_t Size) override;
  std::uint8_t Accept(const std::string& S1, const std::string& S2, bool IsDirectory, std::int32_t& Flags) override;
  bool ContinueOnError(const std::string& S1, const std::string& S2) override;
  void Deleted(const std::string& S1, const std::string& S2) override;

  // ---- SDK file cache --------------------------------------------------------------
  bool GetProfileFiles(const IOTARemoteProfilePtr& Profile, TOTAFileOverwriteControl OverwriteControl,
                       const IOTAConnectionCallbackPtr& Callback, const TOTAProgressProc& ProgressProc) override;
  bool GetProfileFilesWithProgress(const IOTARemoteProfilePtr& Profile) override;
  void DeployMungerPatch(TRAClient& Client);
  bool EnterDirectory(const std::string& RemoteDirectory) override;  // IFileIteration

  // ---- Remote queries --------------------------------------------------------------
  std::string ExpandPath(const IOTARemoteProfilePtr& Profile, const std::string& Path,
                         const IOTAConnectionCallbackPtr& Callback) override;
  std::string ExpandAllPaths(const IOTARemoteProfilePtr& Profile, const std::string& Paths,
                             const IOTAConnectionCallbackPtr& Callback) override;
  bool RemoteDirectoryExists(const IOTARemoteProfilePtr& Profile, const std::string& Path,
                             const IOTAConnectionCallbackPtr& Callback) override;
  std::unique_ptr<TRARemoteFileList> BrowseRemoteFileSystem(const IOTARemoteProfilePtr& Profile,
                                                            const std::string& Path, std::int32_t Depth,
                                                            bool DirectoriesOnly,
                                                            const IOTAConnectionCallbackPtr& Callback) override;
  bool CreateSymLink(const IOTARemoteProfilePtr& Profile, const std::string& Target, const std::string& LinkName,
                     const IOTAConnectionCallbackPtr& Callback) override;
  std::string GetIOSLauncher(const IOTARemoteProfilePtr& Profile, const std::string& Name, bool Simulator,
                             const IOTAConnectionCallbackPtr& Callback) override;
  std::vector<std::string> GetEnvironmentVariables(const IOTARemoteProfilePtr& Profile,
                                                   const IOTAConnectionCallbackPtr& Callback) override;

  // ---- Running and debugging -------------------------------------------------------
  bool Run(const IOTARemoteProfilePtr& Profile, const std::string& A, const std::string& B, const std::string& C,
           const std::string& D, const std::string& E, const std::vector<std::string>* Env, const std::string& F,
           std::string& ErrorText, std::int32_t& ProcessNumber, const IOTAConnectionCallbackPtr& Callback) override;
  bool Run(const IOTARemoteProfilePtr& Profile, const std::string& A, const std::string& B, const std::string& C,
           const std::string& D, const std::string& E, const std::vector<std::string>* Env, const std::string& F,
           std::string& ErrorText, const IOTAConnectionCallbackPtr& Callback) override;
  bool StartRemoteDebugger(const IOTARemoteProfilePtr& Profile, const std::string& A, TOTAProcessType ProcessType,
                           std::int32_t& N1, std::int32_t& N2, std::string& ErrorText,
                           const IOTAConnectionCallbackPtr& Callback) override;

  // ---- Profile assignment for projects (deploy/ProfileAssignment.cpp) -----------------
  /// 0 when nothing is missing (no profile needed, or the assigned one exists); 2, with
  /// ErrorMessage set, when the platform needs a profile the project has not been given.
  std::uint8_t EnsureProfile(const IOTAProjectPtr& Project, const std::string& PlatformName, bool ForCompile,
                             std::string& ErrorMessage) override;
  std::uint8_t EnsureProfileForCompile(const IOTAProjectPtr& Project, const std::string& PlatformName,
                                       std::string& ErrorMessage) override;
  std::uint8_t EnsureProfileForRun(const IOTAProjectPtr& Project, std::string& ErrorMessage) override;
  IOTARemoteProfilePtr ExecuteNewProfileWizard(const std::string& PlatformName, bool FixPlatform) override;
  std::string ShowSelectProfileDialog(const std::string& PlatformName) override;
  void EditProfile(const std::string& ProfileName) override;

  // ---- Deploy (deploy/Deploy.cpp) -----------------------------------------------------
  bool CanDeployProject(const IOTAProjectPtr& Project, const IOTARemoteProfilePtr& Profile) const override;
  bool DeployProject(const IOTAProjectPtr& Project, const IOTARemoteProfilePtr& Profile, const std::string& Config,
                     const std::string& Platform, bool Flag) override;

  // ---- Class state -----------------------------------------------------------------
  static inline std::string FSelectedProfile;
  static inline bool FDisableNotifications = false;
  static inline TEvent1<IOTARemoteProfilePtr> FEvRemoteProfileAdded;
  static inline TEvent1<IOTARemoteProfilePtr> FEvRemoteProfileRemoved;
  static inline TEvent2<IOTARemoteProfilePtr, std::string> FEvRemoteProfileRenamed;
  static inline TEvent1<IOTARemoteProfilePtr> FEvRemoteProfileChanged;
  static inline TEvent2<IOTARemoteProfilePtr, std::string> FEvRemoteFileRemoved;
  static inline TEvent2<IOTAProjectPtr, IOTARemoteProfilePtr> FEvProjectDeployed;
  static inline TEvent2<bool, IOTARemoteProfilePtr> FEvAfterRun;
  static inline TEvent2<bool, IOTARemoteProfilePtr> FEvAfterDeploy;

 private:
  explicit TRemoteProfileManager(TCustomIniFilePtr Settings);

  // The three callbacks wired into every profile.
  void ProfileChanged(TRemoteProfile& Sender);
  void ProfileNameChanged(TRemoteProfile& Sender, const std::string& OldName);
  void PlatformNameChanged(TRemoteProfile& Sender, const std::string& OldPlatform);

  bool FCreated = false;  // set by the constructor; nothing reads it
  TProfileDictionary FProfiles;
  TProfileNameIndex FNameIndex;  // case-insensitive name -> profiles, in step with FProfiles
  TCustomIniFilePtr FSettings;
  TProfileManagerCallbackParams FCallbackParams;
  std::vector<IOTARemoteProfileNotifierPtr> FNotifiers;  // removed slots stay as nullptr
  IOTAPlatformSDKPtr FPlatformSDK;
  bool FCloseProgressWhenDone = true;
  bool FWorkingCopy = false;
};

/// The process-wide manager, created on the first call with the host's settings store
/// (HostServices().AppIniFile) and never freed.
TRemoteProfileManagerPtr RemoteProfileMgr();
/// Tests only: forget the process-wide manager so that the next RemoteProfileMgr() makes
/// a new one from the host installed then.
void ResetRemoteProfileMgrForTesting();
