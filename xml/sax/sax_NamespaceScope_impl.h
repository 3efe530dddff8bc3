// NamespaceScope: the namespace bindings in force at a point of a document,
// as the XML reader keeps them: bind a prefix, unbind the newest bindings as
// their elements end, look a prefix up and resolve a qualified name. It
// holds pointers only: the reader keeps the prefix and URI strings alive
// (in its scratch memory) for as long as their bindings stand.
#ifndef KELP_XML_SAX_SAX_NAMESPACESCOPE_IMPL_H
#define KELP_XML_SAX_SAX_NAMESPACESCOPE_IMPL_H

#include <cstddef>
#include <cstring>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace qor::quv::xml::sax::detail {

inline constexpr char kXmlNamespace[] = "http://www.w3.org/XML/1998/namespace";
inline constexpr char kXmlnsNamespace[] = "http://www.w3.org/2000/xmlns/";
inline constexpr char kEmpty[] = "";

class NamespaceScope {
 public:
  // Starts with the two bindings every document has: xml and xmlns.
  NamespaceScope() { reset(); }

  // Back to the xml and xmlns bindings alone.
  void reset() {
    bindings_.clear();
    newest_.clear();
    defaultUri_ = kEmpty;
    bind("xml", kXmlNamespace);
    bind("xmlns", kXmlnsNamespace);
  }

  // Binds prefix ("" for the default namespace) to uri, hiding any binding
  // of the prefix until this one is removed.
  void bind(const char* prefix, const char* uri) {
    int index = static_cast<int>(bindings_.size());
    auto [it, inserted] = newest_.try_emplace(std::string_view(prefix), index);
    int hidden = inserted ? -1 : it->second;
    it->second = index;
    bindings_.push_back({prefix, uri, hidden});
    if (!*prefix) defaultUri_ = uri;
  }

  // How many bindings stand; unbind back to this count when an element ends.
  std::size_t size() const { return bindings_.size(); }

  // Removes the newest binding (there must be one above the initial two),
  // bringing back the one it hid, and returns its prefix.
  const char* unbindNewest() {
    Binding b = bindings_.back();
    bindings_.pop_back();
    if (b.hidden >= 0)
      newest_[std::string_view(b.prefix)] = b.hidden;
    else
      newest_.erase(std::string_view(b.prefix));
    if (!*b.prefix) defaultUri_ = b.hidden >= 0 ? bindings_[b.hidden].uri : kEmpty;
    return b.prefix;
  }

  // The URI bound to prefix, "" when it is unbound.
  const char* lookup(std::string_view prefix) const {
    auto it = newest_.find(prefix);
    return it == newest_.end() ? kEmpty : bindings_[it->second].uri;
  }

  // The default namespace, "" when none is declared.
  const char* defaultUri() const { return defaultUri_; }

  // Splits a qualified name whose first colon is `colon` (null: none) into
  // its namespace URI and local name. An unprefixed element is in the
  // default namespace, an unprefixed attribute in none.
  void resolve(const char* qName, const char* colon, bool isElement, const char** uri,
               const char** localName) const {
    if (!colon) {
      *uri = isElement ? defaultUri_ : kEmpty;
      *localName = qName;
      return;
    }
    *uri = lookup(std::string_view(qName, static_cast<std::size_t>(colon - qName)));
    *localName = colon + 1;
  }

  // Whether an attribute name declares a namespace: "xmlns" or "xmlns:...".
  static bool isDeclaration(const char* name) {
    if ((name[0] | 0x20) != 'x' || (name[1] | 0x20) != 'm' || (name[2] | 0x20) != 'l') return false;
    return std::strncmp(name, "xmlns", 5) == 0 && (name[5] == 0 || name[5] == ':');
  }

 private:
  // Oldest first; newest_ maps a prefix to the index of its newest binding,
  // and each binding links to the one it hides.
  struct Binding {
    const char* prefix;
    const char* uri;
    int hidden;  // index of the previous binding of the prefix, or -1
  };
  std::vector<Binding> bindings_;
  std::unordered_map<std::string_view, int> newest_;
  const char* defaultUri_ = kEmpty;
};

}  // namespace qor::quv::xml::sax::detail

#endif
