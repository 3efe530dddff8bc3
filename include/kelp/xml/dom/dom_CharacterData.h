/* qor::quv::xml::dom::CharacterData: the data string shared by text nodes
 * and CDATA sections (IDomCharacterData).
 *
 * Offsets and counts are in bytes. A negative offset or count, or an offset
 * beyond the length, is an index error (zob::kDomIndexSize); a count that reaches past the end
 * stops at the end. Same ownership and thread rules as Node.
 */
#ifndef KELP_XML_DOM_DOM_CHARACTERDATA_H
#define KELP_XML_DOM_DOM_CHARACTERDATA_H

#include <string>

#include <kelp/kelp_api.h>
#include <kelp/xml/dom/dom_Node.h>

namespace qor::quv::xml::dom {

class KELP_API CharacterData : public Node, public IDomCharacterData_Adapter {
 public:
  KELP_DOM_NODE_UNKNOWN

  // IDomCharacterData
  ZResult getData(char** data) override;
  ZResult setData(const char* data) override;
  ZResult getLength(int* length) override;
  ZResult substringData(int offset, int count, char** data) override;
  ZResult appendData(const char* data) override;
  ZResult insertData(int offset, const char* data) override;
  /* Also the native form; a count of 0 changes nothing. */
  ZResult deleteData(int offset, int count) override;
  ZResult replaceData(int offset, int count, const char* data) override;

  // Native forms
  const std::string& getData() const { return data_; }
  void setData(const std::string& data) { data_ = data; }
  int getLength() const { return static_cast<int>(data_.size()); }
  /* The native forms answer the same codes as the interface forms, so
   * that either overload means the same; *result is unchanged on an index
   * error. */
  ZResult substringData(int offset, int count, std::string* result) const;
  void appendData(const std::string& data) { data_ += data; }
  ZResult insertData(int offset, const std::string& data);
  ZResult replaceData(int offset, int count, const std::string& data);

  using Node::getNodeValue;
  std::string getNodeValue() const override { return data_; }

 protected:
  CharacterData(util::WeakRefData* document, std::string data);
  ~CharacterData() override;

  /* Checks offset and count and cuts the count at the end; false for an
   * index error. */
  bool checkRange(int offset, int* count) const;

  std::string data_;
};

}  // namespace qor::quv::xml::dom

#endif
