#pragma once

#include "base/BasicArray.h"

#include <cstdint>
#include <span>

// A column of a hint table: numbers that are stored in as many bits as the largest needs (ISO 32000-1, F.4).
class PDLColumn
{
public:
  static constexpr int g_nNarrowest = 255;
  static constexpr int g_nMaxWidth = 32;

  void Add(std::int64_t nValue) { m_values.Add(nValue); }
  int GetSize() const { return m_values.GetSize(); }
  std::int64_t GetAt(int nIndex) const { return m_values[nIndex]; }

  // Packs the entries, high bit first, and pads the last byte with zeros. bLeast: the least value is taken
  // off each. A width beyond 32 stands for the narrowest that holds all. False if an entry does not fit.
  bool Pack(bool bLeast, int nWidth);

  // Of the packed column; 0 and nothing for an empty one.
  std::int64_t GetLeast() const { return m_nLeast; }
  int GetWidth() const { return m_nWidth; }
  std::span<const unsigned char> GetBytes() const { return m_bytes.GetSpan(); }

private:
  BSE::CBasicArray<std::int64_t> m_values;
  BSE::CBasicArray<unsigned char> m_bytes;
  std::int64_t m_nLeast = 0;
  int m_nWidth = 0;
};

// The hint tables of a linearized file. Locations count as if the hint stream were not there.
class PDLHints
{
public:
  static constexpr int g_nTableCount = 10;

  // A run of objects with consecutive numbers, for a table of a category.
  struct TGroup
  {
    std::int64_t m_nNumber = 0;
    std::int64_t m_nLocation = 0;
    std::int64_t m_nCount = 0;
    std::int64_t m_nLength = 0;
  };

  // --- Page offset table, a page at a time; the identifiers of a page are added after it.
  std::int64_t m_nFirstPageLocation = 0;
  void AddPage(std::int64_t nObjects, std::int64_t nLength);
  void AddSharedReference(std::int64_t nIdentifier);

  // --- Shared object table: the objects of the first page, then the others.
  std::int64_t m_nSharedNumber = 0;
  std::int64_t m_nSharedLocation = 0;
  std::int64_t m_nFirstPageEntries = 0;
  void AddSharedObject(std::int64_t nLength) { m_sharedLengths.Add(nLength); }

  TGroup m_outlines;
  TGroup m_information;

  // Data of the hint stream. False if a value does not fit its field.
  bool Build(BSE::CBasicArray<unsigned char>& data);

  // Entries of the stream's dictionary that tell where the tables start in the data.
  void AppendEntries(BSE::CBasicArray<unsigned char>& entries) const;

private:
  bool BuildPageTable(BSE::CBasicArray<unsigned char>& data);
  bool BuildSharedTable(BSE::CBasicArray<unsigned char>& data);
  static bool BuildGroupTable(const TGroup& group, BSE::CBasicArray<unsigned char>& data);

  PDLColumn m_objectCounts;
  PDLColumn m_pageLengths;
  PDLColumn m_sharedCounts;
  PDLColumn m_sharedIdentifiers;
  PDLColumn m_sharedLengths;
  std::int64_t m_nPageReferences = 0;  // of the page that was added last
  bool m_bPageOpen = false;
  int m_offsets[g_nTableCount] = {};  // 0 for a table that is empty, and for the first
};
