#pragma once

#include "base/BasicArray.h"
#include "base/ObjectPtr.h"
#include "images/filters/jbig2/JBIG2SegmentDecoder.h"

#include <span>

namespace BSE
{

// Classes of messages.
enum TJBIG2Class
{
  eJBIG2Warning = 11,
  eJBIG2Fatal = 91
};

// Is told of what a decoder meets.
class IJBIG2Messages
{
public:
  virtual ~IJBIG2Messages() = default;
  virtual void OnMessage(TJBIG2Class messageClass, const char* szText) = 0;
};

// Decodes the one page of an image in JBIG2 coding (ITU-T T.88) in the embedded form: segments without a file
// header, those that images share in a block of their own. A damaged segment costs what is missing of it,
// which is reported as fatal; the rest of the page is kept. The colour extension is refused. Work and memory
// are limited in proportion to the data, all segments together; what is beyond ends the page with a message.
class CJBIG2Decoder
{
public:
  // Borrows the messages.
  explicit CJBIG2Decoder(IJBIG2Messages& messages) : m_messages(messages) {}

  // Finds the segments and the page. The blocks must live as long as the decoder. False, with a message, if
  // there is no page; nothing else is to be called then.
  bool Open(std::span<const unsigned char> globals, std::span<const unsigned char> data);

  // Its height is known, by the stripes where the header does not say.
  const TJBIG2Page& GetPageInformation() const { return m_information; }

  // Decodes all segments. Once only.
  void Decode();

  // Null before Decode, and where the page could not be made, which has been reported.
  const CJBIG2Bitmap* GetPage() const { return m_pPage.Get(); }

private:
  bool FindPage();
  void FindHeight();

  // False if decoding ends there.
  bool DecodeSegment(int nSegment);
  void DecodeRegion(int nSegment);
  void DrawRegion(const CJBIG2BitmapPtr& pBitmap, const TJBIG2Region& region);

  // The page with its default colour, made when it is first needed; false if it cannot be made.
  bool MakePage();

  // Reports why a segment is incomplete, and forgets it.
  void TellFailure(int nSegment);
  void Tell(TJBIG2Class messageClass, int nSegment, const char* szText);

  IJBIG2Messages& m_messages;
  CJBIG2SegmentList m_segments;
  TJBIG2Page m_information;
  int m_nPageSegment = -1;
  CScopedPtr<CJBIG2Run> m_pRun;
  CScopedPtr<CJBIG2SegmentDecoder> m_pDecoder;
  CJBIG2BitmapPtr m_pPage;
};

}  // namespace BSE
