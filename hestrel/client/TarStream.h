// Hestrel client, fast pull: reading a tar stream (ustar, GNU long names, pax
// headers) from a remote `tar -cf -`. Only the entry headers are interpreted here; the
// caller decides what an entry may become (TarPull checks every name against its plan).
#pragma once

#include <cstdint>
#include <string>

#include "client/RemoteShell.h"

namespace hestrel {

struct TTarEntry {
  std::string Name;  ///< as stored, leading "./" removed
  std::string LinkName;
  char Type = '0';  ///< '0' file, '1' hard link, '2' symbolic link, '5' directory, ...
  std::int64_t Size = 0;
  std::int64_t Modified = 0;
};

class TTarReader {
 public:
  explicit TTarReader(TExecChannel& Channel) : FChannel(Channel) {}
  /// The next entry; false at the end of the archive or on a malformed stream (IsBroken).
  bool Next(TTarEntry& Entry);
  bool IsBroken() const { return FBroken; }
  /// True once the archive's end blocks were read (the stream was complete).
  bool IsComplete() const { return FComplete; }
  /// Up to Size bytes of the current entry's data; 0 when it is all read, -1 on failure.
  long ReadData(char* Data, std::size_t Size);
  /// Skips what is left of the current entry's data.
  bool SkipData();

 private:
  bool ReadBlock(char* Block);
  bool ReadPadding();
  bool ReadExtension(std::int64_t Size, std::string& Text);
  TExecChannel& FChannel;
  std::int64_t FLeft = 0;     ///< data bytes of the current entry not yet read
  std::int64_t FPadding = 0;  ///< padding after them
  bool FBroken = false;
  bool FComplete = false;
};

}  // namespace hestrel
