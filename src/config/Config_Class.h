// The configuration store: the program's own settings, an ordered table of keys and values that is filled from plain text
// files (".cfg"), read and changed through typed accessors, and written back, entry by entry, to the file that each came
// from. The file format stands in docs/settings.md.
//
// Keys are found without regard to case and enumerated in the order in which they came in; an overwritten entry keeps its
// place and its spelling. Nothing here fails to the caller: what goes wrong is a false or neutral result and a debug line.
// Not for several threads at once.
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <variant>
#include <vector>

#include "base/DateTime.h"
#include "base/Fold.h"
#include "base/Text.h"
#include "config/Config_KVP.h"
#include "config/FileProblems.h"
#include "config/SettingNames.h"
#include "platform/App_FileSystem.h"

namespace ovs {

// For hash tables whose texts are found without regard to case, without a copy of the text asked for.
struct FoldedHash {
  using is_transparent = void;
  [[nodiscard]] std::size_t operator()(TextView text) const {
    const std::uint64_t hash = HashFolded(text);
    return static_cast<std::size_t>(hash ^ (hash >> 32));
  }
};

struct FoldedEqual {
  using is_transparent = void;
  [[nodiscard]] bool operator()(TextView a, TextView b) const { return EqualsFolded(a, b); }
};

// An amount in ten-thousandths.
struct Currency {
  std::int64_t tenThousandths = 0;
};

// A value of a type that no settings file can hold.
struct UnsupportedValue {
  TextView typeName;
};

// A typed value on its way into the store.
using ConfigValue = std::variant<UnsupportedValue, bool, std::uint8_t, std::int16_t, std::int32_t, std::int64_t, float,
                                 double, Currency, DateTime, Text, std::vector<Text>>;

// The way an entry is written. `sDefFile`: the file it belongs to from now on, relative to the program's folder when it is
// no full path; empty leaves it (a new entry then belongs to the default configuration file). Without `bOverwrite` an entry
// that exists stays as it is. `bNoSave`: never written to disk, once set for good.
struct ConfigSetOptions {
  bool bEncrypted = false;
  bool bOverwrite = true;
  Text sDefFile = {};
  bool bNoSave = false;
};

// The way files and texts are loaded. With `bNoDefFile` the entries belong to the default configuration file. With
// `bPrefixFileName` the file's bare name, blanks as "_", and "." stand before each key.
struct ConfigLoadOptions {
  bool bNoDefFile = false;
  bool bPrefixFileName = false;
  bool bNoSave = false;
};

// For the loaders that know sections. `sPrefix` gets a "." when it is longer than one character and lacks it. Prefixes stand
// before a key unless it begins with them already. With `bUseSections` the section's name and "." follow the prefixes.
struct ConfigIniOptions {
  Text sPrefix = {};
  bool bNoDefFile = false;
  bool bPrefixFileName = false;
  bool bNoSave = false;
  Text sDefFile = {};
  bool bUseSections = true;
};

struct StringArrayOptions {
  bool bReplace = false;  // otherwise what the caller's array holds follows the stored elements
  bool bSort = false;
  bool bBinaryCompare = false;  // for sorting and duplicates; otherwise without regard to case
  bool bRemoveDuplicates = false;
  bool bDropEmpty = false;
};

class Config_Class {
 public:
  // Empty, without a default file. Both objects must outlive the store; the folder is the program's.
  Config_Class(App_FileSystem& fileSystem, const ckCrypt_Config& crypt, TextView programFolder);
  // Saves once when SaveOnRelease is set.
  ~Config_Class();
  Config_Class(const Config_Class&) = delete;
  Config_Class& operator=(const Config_Class&) = delete;

  // The file in which entries without a definition file are saved.
  Text DefaultConfigFile;
  // SaveConfig then writes nothing unless the default configuration file exists.
  bool RequireExistingFile = false;
  bool SaveOnRelease = false;

  // Saves when SaveOnRelease is set, the first time only. The destructor calls it.
  void Release() noexcept;

  // --- the table

  // Null when there is none. Valid until the entry is removed.
  [[nodiscard]] Config_KVP* Item(TextView sKey);
  [[nodiscard]] const Config_KVP* Item(TextView sKey) const;
  [[nodiscard]] std::size_t Count() const { return entries_.size(); }
  // The entries in order.
  [[nodiscard]] const std::list<Config_KVP>& NewEnum() const { return entries_; }
  // False when there is no such key.
  bool Remove(TextView sKey);
  // True when a loader has tried to read this file.
  [[nodiscard]] bool HasTried(TextView sFile) const { return readState_.contains(Identity(sFile)); }

  // The files that were there and could not be loaded, in the order of the attempts.
  [[nodiscard]] const std::vector<FileProblem>& Problems() const { return problems_; }

  // A line of a settings file as the file loaders take it. The views lie within the file's text.
  struct FileLine {
    TextView whole;
    bool isEntry = false;
    TextView key;  // this and the value of an entry only
    TextView value;
  };
  // The lines of a settings file's text in their order, empty ones too. A line in square brackets is a section's name, with
  // or without "=" in it, and no entry.
  static void ForEachFileLine(TextView content, const std::function<void(const FileLine& line)>& take);
  // A file that SaveConfig never writes, by its name.
  [[nodiscard]] static bool IsDebugFile(TextView path);
  // The files that LoadDir loads, in its order.
  [[nodiscard]] std::vector<Text> FilesIn(TextView sDir, std::int32_t lRecursionLevel = -1);

  // --- loading: later loads override earlier ones, a key without value deletes; true see each

  // Each ".cfg" file below the folder, to `lRecursionLevel` levels (-1 all). False when the folder does not exist.
  bool LoadDir(TextView sDir, const ConfigLoadOptions& options = {}, std::int32_t lRecursionLevel = -1);
  // Files by their full paths. False when one of them is empty; the others are loaded.
  bool LoadFiles(const std::vector<Text>& colFiles, const ConfigLoadOptions& options = {});
  bool LoadFile(const std::vector<Text>& arrFiles);

  // --- saving: each file is replaced whole or, when that fails, left as it was

  // Every entry to its file; files named "..._Debug.cfg" are never written, nor is a file that exists but could not be
  // read. True when every file that was to be written was written.
  bool SaveConfig();

  // --- typed setters: false when nothing was changed

  // The primitive below all others. Line breaks (CR LF) are kept as "<NL>". An empty value removes the key. Refused is what
  // a settings file could not carry: NUL characters, keys with line breaks or "=", and lines that would be read as a comment
  // or a section.
  bool SetString(TextView sKey, TextView sValue, const ConfigSetOptions& options = {});
  // Keys whose values are kept encrypted and never traced: those that end in ".Password".
  [[nodiscard]] static bool IsSecretKey(TextView sKey);
  // Encrypts the stored value of a key that exists, unless it is encrypted already.
  void Ensure_Encrypted(TextView sKey);

  // --- typed getters: `sDefFile`, where given, receives the entry's file, empty when the key is missing

  // Decrypted, with real line breaks. Empty when the key is missing.
  [[nodiscard]] Text GetString(TextView sKey, Text* sDefFile = nullptr) const;
  // Outer blanks, a sign and decimal digits within 32 bits; anything else is 0, or -1 with `bMinusOneIfMissing`.
  [[nodiscard]] std::int32_t GetLong(TextView sKey, bool bMinusOneIfMissing = false, Text* sDefFile = nullptr) const;
  // "1" and "2" are true, other texts false, an empty one is the default.
  [[nodiscard]] bool GetBool(TextView sKey, bool bDefault = false, Text* sDefFile = nullptr) const;
  // These read an entry of the table of settings.
  [[nodiscard]] Text GetString(const SettingName& setting) const { return GetString(setting.key); }
  [[nodiscard]] std::int32_t GetLong(const SettingName& setting, bool bMinusOneIfMissing = false) const {
    return GetLong(setting.key, bMinusOneIfMissing);
  }
  [[nodiscard]] bool GetBool(const SettingName& setting) const { return GetBool(setting.key); }
  // The key has a value, be it one that cannot be decrypted, and, where a file is given, comes from a file of this bare
  // name.
  [[nodiscard]] bool SettingExist(TextView sKey, TextView sDefFile = {}) const;

  // One line "key=stored value" and CR LF for each entry whose key contains the text. In this and the other queries
  // "contains" is without regard to case; a definition file, where given, must be the entry's, spelled in full.
  [[nodiscard]] Text GetAllMatchingStrings_AsIs(TextView sPartialKey, TextView sMustMatchThisDefFile = {},
                                                bool bExcludeKeyFromValue = false) const;

  // --- the rest of the store: members that the service itself does not call

  [[nodiscard]] bool ItemExists(TextView sKey) const { return Item(sKey) != nullptr; }
  // The files from which entries were loaded with their origin, in order of their first load.
  [[nodiscard]] const std::vector<Text>& DefinitionFiles() const { return definitionFiles_; }
  // Entries whose key contains the text (with `bExact`: is it), and with `lLevel` other than -1 only those of at least so
  // many parts between dots. An empty text removes nothing.
  void WipeSetting(TextView sPartialKey, std::int32_t lLevel = -1, bool bExact = false);
  // Entries of the file of this bare name, whatever its folder.
  void WipeSettingsByDefFileName(TextView sFile);

  // Without `sDefFile` the entries belong to the loaded file. False for a blank name or text and an unreadable file.
  bool LoadINI(TextView sFile, const ConfigIniOptions& options = {});
  bool LoadINIFromString(TextView sText, const ConfigIniOptions& options = {});
  // In text of several lines a value ends at the second "=" of its line. Sections do not count.
  bool LoadString(TextView sText, const ConfigIniOptions& options = {});

  bool SaveAsNewConfigFile(TextView sFile);
  bool SaveAsINI(TextView sFile, TextView sSection);
  // The texts that SaveConfig would write, file after file.
  [[nodiscard]] Text GetConfigAsString() const;

  bool SetBool(TextView sKey, bool bValue, const ConfigSetOptions& options = {});
  bool SetLong(TextView sKey, std::int32_t lValue, const ConfigSetOptions& options = {});
  bool SetVar(TextView sKey, const ConfigValue& vValue, const ConfigSetOptions& options = {});
  bool SetStringArray(TextView sKey, const std::vector<Text>& arrValue, const ConfigSetOptions& options = {});
  // These two remove the key instead of storing 0, an empty text or no value; `bNoSave` does not count.
  bool SetLongOrDelete(TextView sKey, std::int32_t lValue, const ConfigSetOptions& options = {});
  bool SetVarOrDelete(TextView sKey, const std::optional<ConfigValue>& vValue, const ConfigSetOptions& options = {});
  // The text in which a typed value is stored.
  [[nodiscard]] static Text VariantToCfgString(const ConfigValue& vValue);

  // The stored form; both operations are the same but for `sDefFile`.
  [[nodiscard]] Text GetStringRaw(TextView sKey, Text* sDefFile = nullptr) const;
  [[nodiscard]] Text Get_ValueData_As_Is(TextView sKey) const { return GetStringRaw(sKey); }
  // True when the array holds something at the end.
  bool GetStringArray(TextView sKey, std::vector<Text>& arrValue, const StringArrayOptions& options = {},
                      Text* sDefFile = nullptr) const;

  [[nodiscard]] bool CfgSettingExists(TextView sKey, TextView sDefFile = {}) const;
  // Such lines with plain values.
  [[nodiscard]] Text GetAllMatchingStrings(TextView sPartialKey, TextView sMustMatchThisDefFile = {},
                                           bool bExcludeKeyFromValue = false) const;
  [[nodiscard]] std::int32_t GetMatchingStringCount(TextView sPartialKey, TextView sMustMatchThisDefFile = {}) const;
  // As the first of these, for each entry whose plain value contains the text.
  [[nodiscard]] Text GetAllMatchingValues(TextView sPartialValue, TextView sMustMatchThisDefFile = {},
                                          bool bExcludeKeyFromValue = false) const;

  // The first element (0-based) that equals the text, blanks and case aside.
  [[nodiscard]] static bool InCfgStringArray(TextView sText, const std::vector<Text>& arrValue, std::size_t& lIndex);
  // Keeps the first of equal elements.
  static void RemoveDuplicatesFromStringArray(std::vector<Text>& arrValue, bool bBinaryCompare);
  // The key under which an item of a window is remembered: 0 "Auto_LoadSave", 1 "Top", 2 "Invisible", 4 "Position",
  // 5 "Minimized"; others have no name of their own.
  [[nodiscard]] static Text GetMetricSettingName(TextView sWindowName, std::int32_t lItem);
  void WipeWindowMetrics(TextView sWindowName);

 private:
  using Entries = std::list<Config_KVP>;
  // One file to be written.
  struct Target {
    Text path;  // as its first entry names it
    Text text;
  };
  // The place where the lines of one load go.
  struct LineSink {
    Text prefix;
    Text defFile;
    bool noSave;
    bool anySet = false;
  };

  // A query for lines, and the names under which it is traced.
  struct Query {
    TextView procedure;
    TextView partialName;
    TextView partial;
    TextView defFile;
    bool excludeKey;
  };
  using EntryText = Text (*)(const Config_KVP& entry);

  template <class Predicate>
  void RemoveWhere(Predicate predicate);
  bool Add(TextView key, TextView value, const ConfigSetOptions& options, TextView defFile);
  bool Overwrite(Config_KVP& entry, TextView value, const ConfigSetOptions& options, TextView defFile);
  [[nodiscard]] Text ProgramPath(TextView path) const;
  // A text that is the same for each spelling of one full path.
  [[nodiscard]] static Text Identity(TextView path);
  void NoteDefinitionFile(TextView path);

  bool ReadSettingsFile(TextView path, Text& content);
  void LoadOne(TextView path, const ConfigLoadOptions& options);
  void LoadLines(TextView content, LineSink& sink);
  [[nodiscard]] static bool CanBeStored(TextView key, TextView value);
  bool TakeLine(TextView key, TextView value, LineSink& sink);
  void LoadSections(TextView content, TextView prefix, bool useSections, LineSink& sink);
  bool LoadINIText(TextView text, TextView fileOfPrefix, TextView defFile, const ConfigIniOptions& options);

  [[nodiscard]] std::vector<Target> Targets() const;
  bool SaveTarget(class Proc& proc, const Target& target);
  bool ReplaceFile(class Proc& proc, TextView file, TextView text);
  [[nodiscard]] bool MayReplace(class Proc& proc, TextView path, TextView text);

  [[nodiscard]] bool ExistsIn(TextView key, TextView defFile) const;
  [[nodiscard]] Text MatchingLines(const Query& query, EntryText searched, EntryText shown) const;

  App_FileSystem& fileSystem_;
  const ckCrypt_Config& crypt_;
  Text programFolder_;
  bool active_ = true;
  Entries entries_;
  std::unordered_map<Text, Entries::iterator, FoldedHash, FoldedEqual> byKey_;
  std::vector<Text> definitionFiles_;
  std::unordered_set<Text, FoldedHash, FoldedEqual> knownDefinitionFiles_;
  std::vector<FileProblem> problems_;
  std::unordered_map<Text, bool> readState_;  // by identity, of files tried: whether reading succeeded
};

}  // namespace ovs
