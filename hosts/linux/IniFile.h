// The reference host's settings store: TCustomIniFile over a text file, held in memory and
// written back on request.
//
// File format (full description: docs/settings-file-format.md). UTF-8 text, one item a line:
//
//   ; comment (also '#'), blank lines ignored; both are not kept when the file is saved
//   [RemoteProfiles]
//   Default_OSX32=Mac
//   [RemoteProfiles\Mac]
//   Platform=OSX32
//   LocalRoot=C:\Users\me\SDKs
//
// A sub-section is a section whose name is its parent's name, '\' and its own name.
// Blanks around names and values are trimmed; text that cannot stand as it is is written as
// '%' and two hexadecimal digits: '%' itself (%25), control bytes such as line breaks
// (%0A), a blank at either end (%20), ']' in section names, '=' and a leading '[' ';' '#'
// in value names. Everything else, backslashes and UTF-8 included, is written as it is.
// Names compare ignoring ASCII case and keep the case they were first written with.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/CustomIniFile.h"
#include "hosts/linux/IniFileFormat.h"

class TIniFile;

/// The outcome of loading: File is always a usable store (empty when the load failed);
/// Error names the file and, for a syntax error, the line.
struct TIniFileLoadResult {
  std::shared_ptr<TIniFile> File;
  std::string Error;
  /// The file exists and holds nothing but blanks and line breaks (also when it is empty).
  bool Blank = false;
  bool Ok() const { return Error.empty(); }
};

/// The outcome of UpdateFile; empty Error means saved.
struct TIniFileSaveResult {
  std::string Error;
  bool Ok() const { return Error.empty(); }
};

class TIniFile : public TCustomIniFile {
 public:
  /// An empty store that UpdateFile writes to FileName (the file is not read).
  explicit TIniFile(std::string FileName);

  /// Reads FileName. A missing file gives an empty store. An unreadable or damaged file
  /// gives an empty store that refuses UpdateFile, so the file is never replaced unseen.
  static TIniFileLoadResult Load(const std::string& FileName);

  void ReadSections(const std::string& Section, std::vector<std::string>& Strings) override;
  std::string ReadString(const std::string& Section, const std::string& Ident, const std::string& Default) override;
  std::int32_t ReadInteger(const std::string& Section, const std::string& Ident, std::int32_t Default) override;
  /// An integer value is true when not 0; "true" and "false" are read too (any case).
  bool ReadBool(const std::string& Section, const std::string& Ident, bool Default) override;
  void WriteString(const std::string& Section, const std::string& Ident, const std::string& Value) override;
  void WriteInteger(const std::string& Section, const std::string& Ident, std::int32_t Value) override;
  /// Writes "1" or "0".
  void WriteBool(const std::string& Section, const std::string& Ident, bool Value) override;
  void EraseSection(const std::string& Section) override;

  /// Writes the store to its file atomically (HostAtomicWrite.h; mode 0600 when new, an existing
  /// file tightened to at most 0600: it holds enciphered passwords). Refused
  /// when the load failed. Writes change only memory until this is called.
  TIniFileSaveResult UpdateFile();

  /// The text UpdateFile writes.
  std::string GetText() const;
  /// Replaces the store's content by Text as a file would give it; on a syntax error
  /// answers the error (naming the file and the line) and leaves the store empty.
  std::string SetText(std::string_view Text);

  const std::string& GetFileName() const { return FFileName; }
  /// The load error that makes UpdateFile refuse, or "".
  const std::string& GetLoadError() const { return FLoadError; }
  /// Makes UpdateFile refuse from now on, Reason becoming the load error: the file must not be
  /// replaced by what this store holds (the host found it unsafe to load from).
  void Refuse(std::string Reason) { FLoadError = std::move(Reason); }

 private:
  using TNameIndex = std::unordered_map<std::string, std::size_t, LinuxHost::TCaseInsensitiveHash,
                                        LinuxHost::TCaseInsensitiveEqual>;
  struct TValue {
    std::string Name;
    std::string Value;
  };
  /// A section's values in written order; a name index once it has many values.
  struct TSection {
    std::string Name;
    std::vector<TValue> Values;
    std::unique_ptr<TNameIndex> Index;
    TValue* Find(std::string_view Ident);
    void Set(std::string_view Ident, std::string Value);
  };

  TSection* FindSection(std::string_view Section);
  TSection& FindOrAddSection(std::string_view Section);
  void IndexChild(std::size_t Slot);
  void RebuildIndexes();
  void Clear();
  /// Parses one line into the store; answers the reason when it is not valid.
  std::string ParseLine(std::string_view Line, TSection*& Current);

  std::string FFileName;
  std::string FLoadError;
  std::vector<TSection> FSections;  ///< in file order, then creation order
  TNameIndex FSectionIndex;         ///< section name -> slot in FSections
  /// Parent section name -> slots of the sections directly below it, in order.
  std::unordered_map<std::string, std::vector<std::size_t>, LinuxHost::TCaseInsensitiveHash,
                     LinuxHost::TCaseInsensitiveEqual>
      FChildren;
};
using TIniFilePtr = std::shared_ptr<TIniFile>;
