// Host records and enumerations that travel with a profile. They keep the host's TOTA...
// names.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

/// Credential record. Value semantics, copied whole.
struct TOTARemoteProfileCredential {
  std::string PasswordOrFile;  ///< the password (enciphered once stored), or a password-file path
  bool IsPassword = true;      ///< true: PasswordOrFile is a password; false: a password-file path
  bool IsEncrypted = false;    ///< true: the password is already in its stored form
  bool operator==(const TOTARemoteProfileCredential&) const = default;
};

/// The host's path-item type. Stored as an integer ("Type%d" in the settings store, low
/// 8 bits kept), so a value outside the four named kinds can occur and must survive.
enum TOTAPathItemType : std::uint8_t {
  ptIncludePath = 0,
  ptLibraryPath = 1,
  ptFramework = 2,
  ptOtherPath = 3,
};

/// One remote SDK directory to mirror.
struct TOTARemoteProfilePathItem {
  std::string Path;
  std::string Mask;
  bool IncludeSubDir = false;
  TOTAPathItemType Type = ptIncludePath;
  bool operator==(const TOTARemoteProfilePathItem&) const = default;
};

/// A dynamic array of path items with the host's reference semantics: copies
/// share one array, an element edited in place is seen by every holder, and SetPaths
/// compares identity, not contents. SetLength gives this holder a fresh array of its
/// own, as the host's dynamic arrays do. An empty array has no storage (it is nil).
class TOTARemoteProfilePathArray {
 public:
  TOTARemoteProfilePathArray() = default;
  TOTARemoteProfilePathArray(std::initializer_list<TOTARemoteProfilePathItem> Items);
  explicit TOTARemoteProfilePathArray(std::vector<TOTARemoteProfilePathItem> Items);

  std::size_t size() const { return FItems ? FItems->size() : 0; }
  bool empty() const { return size() == 0; }
  TOTARemoteProfilePathItem& operator[](std::size_t Index) { return (*FItems)[Index]; }
  const TOTARemoteProfilePathItem& operator[](std::size_t Index) const { return (*FItems)[Index]; }
  const TOTARemoteProfilePathItem* begin() const { return FItems ? FItems->data() : nullptr; }
  const TOTARemoteProfilePathItem* end() const { return begin() + size(); }

  /// New storage of Length items, the first ones copied (host SetLength semantics).
  void SetLength(std::size_t Length);
  /// Identity: both hold the same storage (two empty arrays are the same nil array).
  bool SameArray(const TOTARemoteProfilePathArray& Other) const { return FItems == Other.FItems; }
  /// The items as a plain vector (a copy).
  std::vector<TOTARemoteProfilePathItem> ToVector() const;
  /// Element-wise equality, for tests and callers that care about contents.
  bool SameItems(const TOTARemoteProfilePathArray& Other) const;

 private:
  std::shared_ptr<std::vector<TOTARemoteProfilePathItem>> FItems;
};

/// Progress notice types.
enum TOTAProgressType : std::uint8_t {
  ptStart = 0,
  ptProgress = 1,
  ptError = 2,
  ptFinished = 3,
};

/// Overwrite control of a transfer.
enum TOTAFileOverwriteControl : std::uint8_t {
  focAlwaysReplace = 0,
  focNeverReplace = 1,
  focAsk = 2,
};

/// Flags of a put-file item: three flags in one byte. Their only use is PutFiles'
/// conversion to the agent's attributes, which always yields 0.
enum TOTAPutFileFlag : std::uint8_t {
  pffExecutable = 1 << 0,
  pffReadOnly = 1 << 1,
  pffHidden = 1 << 2,
};

/// One file to send. The two destination strings are opaque to the system
/// and handed to the agent's PutFile as they stand.
struct TOTAPutFileItem {
  std::string LocalFile;
  std::string RemoteDest1;  ///< PutFile's first argument
  std::string RemoteDest2;  ///< PutFile's fourth argument
  std::uint8_t Flags = 0;
};

/// Process type of StartRemoteDebugger; its values are the host's.
using TOTAProcessType = std::int32_t;

/// The progress procedure of a remote operation: answers true to go on. Empty means none.
using TOTAProgressProc =
    std::function<bool(TOTAProgressType ProgressType, std::int32_t Index, std::int32_t Count, const std::string& Text,
                       const std::string& Detail1, const std::string& Detail2, std::int32_t Position)>;
