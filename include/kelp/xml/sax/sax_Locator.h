/* qor::quv::xml::sax::Locator and DefaultLocator: where in a document an
 * event or an error happened.
 *
 * A Locator is a copyable handle to a reference-counted Locator::Data;
 * copies share the data. Input sources hand out DefaultLocator snapshots:
 * a locator never follows the input after it was taken. An empty Locator
 * (no data) answers "" and 0. Counts are atomic, so handles to the same
 * data may be copied and dropped on different threads.
 *
 *   Locator where = DefaultLocator("", "catalogue.xml", 12, 0);
 *   int line = where.getLineNumber();  // 12
 */
#ifndef KELP_XML_SAX_SAX_LOCATOR_H
#define KELP_XML_SAX_SAX_LOCATOR_H

#include <cstdint>
#include <string>

#include <kelp/kelp_api.h>

namespace qor::quv::xml::sax {

class KELP_API Locator {
 public:
  /* The shared state behind a Locator. Created with a count of 0; each
   * Locator holding it adds one, and the last release deletes it. */
  class KELP_API Data {
   public:
    Data();
    virtual ~Data();
    Data(const Data&) = delete;
    Data& operator=(const Data&) = delete;

    virtual std::string getPublicId() const = 0;
    virtual std::string getSystemId() const = 0;
    virtual int getLineNumber() const = 0;
    virtual int getColumnNumber() const = 0;

    void addRef();
    /* Deletes the data when the count drops to zero. */
    void release();

   private:
    std::int32_t refs_;
  };

  /* An empty locator. */
  Locator();
  /* Holds data (adding a reference); null gives an empty locator. */
  explicit Locator(Data* data);
  Locator(const Locator& other);
  Locator& operator=(const Locator& other);
  ~Locator();

  std::string getPublicId() const;
  std::string getSystemId() const;
  int getLineNumber() const;
  int getColumnNumber() const;

  /* The shared data, or null for an empty locator. */
  Data* getData() const { return data_; }

 private:
  Data* data_;
};

/* A locator of fixed values. */
class KELP_API DefaultLocator : public Locator {
 public:
  class KELP_API Data : public Locator::Data {
   public:
    Data(const std::string& publicId, const std::string& systemId, int line, int column);
    ~Data() override;

    std::string getPublicId() const override;
    std::string getSystemId() const override;
    int getLineNumber() const override;
    int getColumnNumber() const override;

   private:
    std::string publicId_;
    std::string systemId_;
    int line_;
    int column_;
  };

  DefaultLocator(const std::string& publicId, const std::string& systemId, int line, int column);
};

}  // namespace qor::quv::xml::sax

#endif
