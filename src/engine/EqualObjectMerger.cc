// Two objects are equal if everything below them is. Walking children before parents turns that into a
// comparison of bytes: when an object is left, each reference in it has its final target, so a digest of its
// value with the targets in place of the references decides. The first object of a digest stands for all
// later ones. Whatever a reader can tell apart although it is written alike (pages, annotations, layers,
// lists of members, what the catalogue names) is exempt; so is what leads back to itself, because its digest
// would depend on itself.

#include "engine/EqualObjectMerger.h"

#include "base/Tracer.h"
#include "document/ObjectIdentity.h"
#include "document/PostOrderWalk.h"
#include "engine/DefaultSpaces.h"
#include "engine/StreamDigester.h"

namespace PDF
{

namespace
{

// Puts the number that stands for an object in the place of each reference.
class CRedirectingHasher : public CObjectHasher
{
public:
  explicit CRedirectingHasher(const CStandIns& standIns) : m_standIns(standIns) {}

protected:
  // What was a duplicate before may stand for an object that has been merged with a third one.
  int GetTarget(int nNumber) const override { return m_standIns.Get(nNumber); }

private:
  const CStandIns& m_standIns;
};

class CMergeWalk : public CPostOrderWalk
{
public:
  CMergeWalk(CFile& file, bool bDecode, CStandIns& standIns, CDecodedStreams& decoded)
      : CPostOrderWalk(file), m_standIns(standIns), m_hasher(standIns), m_streams(bDecode, &decoded)
  {
  }

  // Objects that stay what they are; what they refer to is walked all the same.
  void Exempt(const CObjectPtr& object)
  {
    if (object.IsIndirect())
      m_exempt.Add(object.GetObjNumber());
  }

  int GetMergedCount() const { return m_nMerged; }
  bool HasDefaultSpaces() const { return m_bDefaultSpaces; }

protected:
  bool Enter(const CObjectPtr& object) override
  {
    m_bDefaultSpaces = m_bDefaultSpaces || NamesDefaultSpaces(object);
    if (!HasIdentity(object))
      return true;
    m_exempt.Add(object.GetObjNumber());
    ExemptAppearances(object["AP"]);
    for (const char* szKey : {"MK", "BS", "BE"})
      Exempt(object[szKey]);
    for (const char* szKey : {"Kids", "Annots", "Fields"})
      ExemptMembers(object[szKey]);
    return true;
  }

  void Leave(const CObjectPtr& object) override
  {
    const int nNumber = object.GetObjNumber();
    const CObjectPtr value = object.GetValueObject();
    if (m_exempt.Contains(nNumber) || !value || m_standIns.Contains(nNumber) || IsMembership(object))
      return;
    m_hasher.Reset();
    if (object.IsStream())
    {
      const CStreamDigester::TResult data = m_streams.Digest(object);
      m_hasher.AddBytes(data.m_digest);
      m_hasher.AddStreamDictionary(value, !data.m_bDecoded);
    }
    m_hasher.AddValue(object.IsStream() ? CObjectPtr() : value);
    const int nFirst = m_digests.FindOrAdd(m_hasher.GetDigest(), nNumber);
    if (nFirst == nNumber)
      return;
    m_standIns.Set(nNumber, nFirst);
    ++m_nMerged;
  }

private:
  // A viewer may write them anew in place when the value of a field or an annotation is changed; it only
  // switches between those that stand for a state.
  void ExemptAppearances(const CObjectPtr& appearances)
  {
    if (!IsNew(appearances))
      return;
    Exempt(appearances);
    for (int i = appearances.GetBegin(); i != appearances.GetEnd(); i = appearances.GetNext(i))
      if (const CObjectPtr appearance = appearances.GetValue(i); appearance.IsStream())
        Exempt(appearance);
  }

  // What a list makes a page, a field or an annotation, whatever it looks like.
  void ExemptMembers(const CObjectPtr& list)
  {
    if (IsNew(list) && list.IsArray())
      for (int i = 0; i < list.GetSize(); ++i)
        Exempt(list[i]);
  }

  // Pages and fields may share such an object, which is not loaded for each of them.
  bool IsNew(const CObjectPtr& object) { return !object.IsIndirect() || m_looked.Add(object.GetObjNumber()); }

  // An array that lists members, like the fields of a form or the annotations of a page, or may come to: two
  // of them can have the same members and must not get new ones together. Members were entered before.
  bool IsMembership(const CObjectPtr& object) const
  {
    if (!object.IsArray())
      return false;
    const CObjectPtr array = object.GetValueObject();
    for (int i = 0; i < array.GetSize(); ++i)
      if (const CObjectPtr member = array[i]; member.IsIndirect() && m_exempt.Contains(member.GetObjNumber()))
        return true;
    return array.GetSize() == 0;
  }

  CStandIns& m_standIns;
  CRedirectingHasher m_hasher;
  CStreamDigester m_streams;
  CDigestTable m_digests;
  CNumberSet m_exempt;
  CNumberSet m_looked;  // lists and appearances whose members are exempt
  int m_nMerged = 0;
  bool m_bDefaultSpaces = false;
};

}  // namespace

void MergeEqualObjects(CFile& file, bool bDecode, CStandIns& standIns, CDecodedStreams& decoded,
                       bool* pDefaultSpaces)
{
  CMergeWalk walk(file, bDecode, standIns, decoded);
  const CObjectPtr root = file.GetRoot();
  walk.Exempt(root);
  walk.Exempt(file.GetInfo());
  walk.Exempt(file.GetEncrypt());
  const CObjectPtr catalog = root.GetValueObject();
  for (int i = catalog.GetBegin(); i != catalog.GetEnd(); i = catalog.GetNext(i))
    walk.Exempt(catalog.GetValue(i));
  walk.Walk(root);
  if (pDefaultSpaces)
    *pDefaultSpaces = walk.HasDefaultSpaces();
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("D", "PDF Optimizer", "Merged equal objects: %d", walk.GetMergedCount());
}

}  // namespace PDF
