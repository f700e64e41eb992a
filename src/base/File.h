#pragma once

#include "base/BasicString.h"

#include <cstdint>

namespace BSE
{

// A path as a value: bytes in the file system's encoding, parts separated by '/'. The operations work on what
// has that name at the moment. A failure is traced (component "File") and shown by false or -1, with errno
// left as the system set it; that something does not exist is an answer, not a failure.
class CFile
{
public:
  CFile() = default;
  explicit CFile(const char* szPath) : m_path(szPath) {}

  // The file of a name in a folder; an empty or null folder gives the name alone.
  CFile(const char* szFolder, const char* szName);

  // Never null; valid until the path changes.
  const char* GetPath() const { return m_path.GetText(); }
  bool IsEmpty() const { return m_path.IsEmpty(); }

  // What follows the last '/'.
  const char* GetName() const;

  // What comes before the last '/': "/" for a name in the root, empty without a '/'.
  CStr8 GetFolder() const;

  // What follows the last '.' of the name; empty without one.
  const char* GetExtension() const;

  // Replaces the extension, or adds one. An empty or null extension goes together with its '.'.
  void SetExtension(const char* szExtension);

  bool Exists() const;

  // True for a folder, followed through links.
  bool IsFolder() const;

  // Removes a file, a link or an empty folder.
  bool Remove() const;

  // Gives the file another name, over what has that name already, and takes that path.
  bool Rename(const char* szPath);

  // Creates the folder with all its parents. True as well if it exists.
  bool MakeFolder() const;

  // Creates a new empty file in a folder, readable by this user alone, and takes its path: the prefix and six
  // characters of the system's choice.
  bool CreateUnique(const char* szFolder, const char* szPrefix);

  // The same, open for reading and writing; the caller closes the descriptor. The negated error number on
  // failure.
  int OpenUnique(const char* szFolder, const char* szPrefix);

  // The same in the folder for temporary files (PDFTMPDIR, else TMP, else /tmp), whose path has 399 bytes at
  // most.
  int OpenTemporary(const char* szPrefix);

  static bool GetCurrentFolder(CFile& folder);

  // The user's own folder, from HOME; false if that is not set.
  static bool GetHomeFolder(CFile& folder);

private:
  CStr8 m_path;
};

// Lists a folder, without "." and "..", in the order of the system.
class CFileFinder
{
public:
  explicit CFileFinder(const char* szFolder);
  ~CFileFinder();
  CFileFinder(const CFileFinder&) = delete;
  CFileFinder& operator=(const CFileFinder&) = delete;

  bool IsValid() const { return m_pFolder != nullptr; }

  // Takes the next file, with the folder in its path; false after the last.
  bool FindNext(CFile& file);

private:
  CStr8 m_path;
  void* m_pFolder;
};

}  // namespace BSE
