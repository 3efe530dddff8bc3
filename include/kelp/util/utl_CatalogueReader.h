/* qor::quv::basket::CatalogueReader: reads a catalogue document (the format
 * is described in samples/README.md) into a Catalogue, checking each
 * article as a whole.
 *
 *   CatalogueReader reader(app);
 *   if (!reader.read(text)) {
 *     report(reader.getFatalLine(), reader.getFatalMessage());   // nothing usable
 *   } else {
 *     for (const CatalogueFault& f : reader.getFaults()) report(f.line, f.message);
 *     use(reader.getCatalogue());       // the valid articles only
 *   }
 *
 * A faulty article is left out and reading goes on with the next; each of
 * its faults is listed in document order with the line of the element at
 * fault, as "article 'ID': message". Faults outside the articles (the
 * <catalogue> element, malformed XML) end the reading. Lines are known for
 * documents in ASCII-compatible encodings; for UTF-16 and UTF-32 they are 0.
 * Descriptions are checked with the layout module's XHTML reader and kept
 * as whole pages. External entities are never opened.
 *
 * One reader reads one document at a time; it is not shared between
 * threads. */
#ifndef KELP_UTIL_UTL_CATALOGUEREADER_H
#define KELP_UTIL_UTL_CATALOGUEREADER_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include <fw/fw_IApplication.h>
#include <kelp/kelp_api.h>
#include <kelp/util/utl_Catalogue.h>

namespace qor::quv::basket {

class KELP_API CatalogueFault {
 public:
  int line = 0;
  std::string message;
};

class KELP_API CatalogueReader {
 public:
  /* `app` serves the XHTML reader of descriptions (may be null). */
  explicit CatalogueReader(fw::IApplication* app) : app_(app) {}

  /* Reads the document `text`; `systemId` names it in the XML reader's
   * messages. False after a fault outside the articles. */
  bool read(const std::string& text, const std::string& systemId = std::string());

  /* Called during read() with the bytes of the document the XML reader has
   * taken so far and the document's size, after each block it takes (so a
   * progress display follows the reading itself); the last call has done ==
   * total when the whole document was read. Empty by default. */
  using ProgressFn = std::function<void(std::size_t done, std::size_t total)>;
  void setProgress(ProgressFn progress) { progress_ = std::move(progress); }

  const Catalogue& getCatalogue() const { return catalogue_; }
  const std::vector<CatalogueFault>& getFaults() const { return faults_; }
  /* Number of articles left out. */
  int getInvalidCount() const { return invalid_; }
  const std::string& getFatalMessage() const { return fatalMessage_; }
  int getFatalLine() const { return fatalLine_; }

  /* The page the XHTML reader reads for a description's markup. */
  static std::string wrapDescription(const std::string& body);

 private:
  fw::IApplication* app_;
  Catalogue catalogue_;
  std::vector<CatalogueFault> faults_;
  int invalid_ = 0;
  std::string fatalMessage_;
  int fatalLine_ = 0;
  ProgressFn progress_;
};

}  // namespace qor::quv::basket

#endif
