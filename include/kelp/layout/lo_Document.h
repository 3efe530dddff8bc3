/* The layout document model: a device-neutral rich-text document of nested
 * blocks.
 *
 * A Document owns its body, an environment (EnvBlock) that holds child
 * blocks in document order: further environments (lists, quotations,
 * divisions ...) and paragraphs (ParaBlock). A paragraph is a sequence of
 * Atom values: characters (UTF-16 code units), spaces, line breaks,
 * horizontal rules and style switches. XHtmlReader builds documents; the
 * formatters SimplePlainTextFmt and HtmlFmt write them out.
 *
 *   Document* doc = new Document(app);  // count 0
 *   doc->addRef();
 *   ParaBlock* para = doc->getBody()->appendParagraph(kParaBlock);
 *   para->appendChar('a');
 *   para->appendSpace();
 *   doc->release();                      // deletes the whole tree
 *
 * Ownership: documents and blocks are reference counted (atomic counts,
 * created with a count of 0). A document holds its body; an environment
 * holds one reference to each child block. A block's links to its
 * enclosing environment and to its document are plain pointers: keep the
 * document alive while you use its blocks. Releasing a tree of any depth
 * uses no recursion. One thread builds a document; afterwards it may be
 * read from any thread. */
#ifndef KELP_LAYOUT_LO_DOCUMENT_H
#define KELP_LAYOUT_LO_DOCUMENT_H

#include <cstdint>
#include <string>
#include <vector>

#include <fw/fw_IApplication.h>
#include <kelp/kelp_api.h>

namespace qor::quv::layout {

/* A style switch: the low byte holds independent font flags, the high byte
 * one phrase kind. */
using Style = std::uint16_t;

constexpr Style kStyleB = 1;
constexpr Style kStyleI = 2;
constexpr Style kStyleU = 4;
constexpr Style kStyleBig = 8;
constexpr Style kStyleSmall = 16;
constexpr Style kStyleSub = 32;
constexpr Style kStyleSup = 64;
constexpr Style kStyleTT = 128;
constexpr Style kStyleAbbr = 1 << 8;
constexpr Style kStyleAcronym = 2 << 8;
constexpr Style kStyleCite = 3 << 8;
constexpr Style kStyleCode = 4 << 8;
constexpr Style kStyleDfn = 5 << 8;
constexpr Style kStyleEm = 6 << 8;
constexpr Style kStyleKbd = 7 << 8;
constexpr Style kStyleQ = 8 << 8;
constexpr Style kStyleSpan = 9 << 8;
constexpr Style kStyleSamp = 10 << 8;
constexpr Style kStyleStrong = 11 << 8;
constexpr Style kStyleVar = 12 << 8;

/* The kind of a block. Values below 100 are paragraphs, from 100 on
 * environments. */
enum BlockType : int {
  kParaImplicit = 1,  // text or inline markup outside an explicit paragraph
  kParaBlock = 2,     // p
  kParaPre = 3,       // pre
  kParaH1 = 4,        // h1 to h6: level + 3
  kParaH2 = 5,
  kParaH3 = 6,
  kParaH4 = 7,
  kParaH5 = 8,
  kParaH6 = 9,
  kParaDT = 10,       // dt
  kParaAddress = 11,  // address
  kEnvBody = 100,     // the document body
  kEnvBlockQuote = 101,
  kEnvDiv = 102,
  kEnvDL = 103,
  kEnvDD = 104,
  kEnvOL = 105,
  kEnvUL = 106,
  kEnvLI = 107
};

/* Whether a block type is a paragraph type (below 100). */
inline bool isParagraphType(BlockType type) {
  return type < kEnvBody;
}

/* The types of atoms. */
enum AtomType : unsigned {
  kAtomSpace = 1,
  kAtomNbSpace = 2,  // the reader never makes it; the formatters render it
  kAtomBreak = 3,
  kAtomHRule = 4,
  kAtomChar = 5,
  kAtomStyleOn = 6,
  kAtomStyleOff = 7
};

/* The out-of-line payload of an Atom: a counted record whose first word
 * holds the type in its low four bits and the 16-bit value (a character or
 * a Style) in bits 16 to 31. Created with a count of 0; the Atoms that
 * hold it share it. Atoms made by the paragraph operations carry the same
 * word inline and need no record. */
struct KELP_API AtomData {
  alignas(16) std::uint32_t word;
  std::int32_t refs;

  /* A new record (count 0) for an atom of `type` with `value`. */
  static AtomData* create(AtomType type, std::uint16_t value);
  void addRef();
  /* Deletes the record when the count drops to zero. */
  void release();
};

/* A small value: one word whose low four bits are the atom's type. When
 * they are zero the word points to a shared AtomData record (aligned to 16
 * bytes) that carries the type and value instead. */
class KELP_API Atom {
 public:
  /* An atom of `type` carrying value (a character or a Style). A type
   * outside 1 to 15 is kept in a shared record. */
  Atom(AtomType type, std::uint16_t value = 0);
  /* An atom sharing data (adds a reference); data must not be null. */
  explicit Atom(AtomData* data);
  Atom(const Atom& other);
  Atom& operator=(const Atom& other);
  ~Atom();

  AtomType getType() const { return static_cast<AtomType>(firstWord() & 0xF); }
  /* The UTF-16 code unit of a character atom. */
  std::uint16_t getChar() const { return static_cast<std::uint16_t>(firstWord() >> 16); }
  /* The style of a style-on or style-off atom. */
  Style getStyle() const { return static_cast<Style>(firstWord() >> 16); }

  bool isShared() const { return (word_ & 0xF) == 0; }

 private:
  std::uint32_t firstWord() const {
    return isShared() ? reinterpret_cast<const AtomData*>(word_)->word
                      : static_cast<std::uint32_t>(word_);
  }
  std::uintptr_t word_;
};

class Document;
class EnvBlock;

/* Base of paragraphs and environments. */
class KELP_API Block {
 public:
  Block(const Block&) = delete;
  Block& operator=(const Block&) = delete;

  void addRef();
  /* Deletes the block, and the children it held last, at zero. */
  void release();

  BlockType getType() const { return type_; }
  /* The enclosing environment; null for the body. */
  EnvBlock* getEnclBlock() const { return encl_; }
  Document* getDoc() const { return doc_; }

 protected:
  Block(BlockType type, EnvBlock* encl, Document* doc);
  virtual ~Block();

 private:
  friend class EnvBlock;
  BlockType type_;
  EnvBlock* encl_;
  Document* doc_;
  std::int32_t refs_;
};

/* A paragraph: a sequence of atoms. */
class KELP_API ParaBlock : public Block {
 public:
  ParaBlock(BlockType type, EnvBlock* encl, Document* doc);

  const std::vector<Atom>& getAtoms() const { return atoms_; }

  void appendChar(unsigned short c);
  /* Appends a space only when the last character or space atom (style,
   * break and rule atoms do not count) is a character: leading and
   * repeated white space vanishes. */
  void appendSpace();
  void appendBreak();
  void appendHRule();
  void appendStyleOn(Style style);
  void appendStyleOff(Style style);
  /* Appends any atom as it is (non-breaking spaces, shared atoms); a
   * character or space atom counts for appendSpace like the above. */
  void appendAtom(const Atom& atom);

 protected:
  ~ParaBlock() override;

 private:
  std::vector<Atom> atoms_;
  // Whether the last character-or-space atom is a character, so that
  // appendSpace does not walk back over long runs of other atoms.
  bool afterChar_;
};

/* An environment: child blocks in document order. */
class KELP_API EnvBlock : public Block {
 public:
  EnvBlock(BlockType type, EnvBlock* encl, Document* doc);

  /* The children; the environment holds one reference to each. */
  const std::vector<Block*>& getBlocks() const { return blocks_; }

  /* Create a child of `type` enclosed by this environment, append it and
   * return it (no reference added for the caller). */
  ParaBlock* appendParagraph(BlockType type);
  EnvBlock* appendEnvironment(BlockType type);

 protected:
  ~EnvBlock() override;

 private:
  friend class Block;
  std::vector<Block*> blocks_;
};

/* A layout document: the host application and the body. */
class KELP_API Document {
 public:
  /* Count 0; holds one reference to app (may be null) and creates the
   * body. */
  explicit Document(fw::IApplication* app);
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  void addRef();
  void release();

  fw::IApplication* getApplication() const { return app_; }
  /* The body, an environment of type kEnvBody with no enclosing block. */
  EnvBlock* getBody() const { return body_; }

  /* The text of the page's title (not part of the formatted output). */
  const std::string& getTitle() const { return title_; }
  void setTitle(const std::string& title) { title_ = title; }

 private:
  ~Document();
  fw::IApplication* app_;
  EnvBlock* body_;
  std::string title_;
  std::int32_t refs_;
};

}  // namespace qor::quv::layout

#endif
