/* qor::quv::basket::EClassification: one record of a classification system
 * (a product class in some standard's version, with optional features).
 *
 * Fields: the system id, the system's version, the class code, and feature
 * name=value pairs in their order. The serialised text form is
 *
 *   SYSTEM/VERSION:CODE;NAME=VALUE;NAME=VALUE
 *
 * where every field has "%", "/", ":", ";", "=" and the control characters
 * (bytes 0 to 31 and 127) written as "%" and two upper-case hex digits, so
 * any field text survives: parseString(formatString()) gives the record back.
 * The system id, the code and each feature name must not be empty; the
 * version and feature values may be.
 *
 *   EClassification c("ECLASS", "13.0", "21-04-05-01");
 *   c.addFeature("colour", "red;blue");
 *   c.formatString();   // "ECLASS/13.0:21-04-05-01;colour=red%3Bblue"
 *
 * A plain copyable value. */
#ifndef KELP_UTIL_UTL_ECLASSIFICATION_H
#define KELP_UTIL_UTL_ECLASSIFICATION_H

#include <string>
#include <utility>
#include <vector>

#include <kelp/kelp_api.h>

namespace qor::quv::basket {

class KELP_API EClassification {
 public:
  using Feature = std::pair<std::string, std::string>;

  EClassification() = default;
  EClassification(std::string system, std::string version, std::string code)
      : system_(std::move(system)), version_(std::move(version)), code_(std::move(code)) {}

  const std::string& getSystem() const { return system_; }
  const std::string& getVersion() const { return version_; }
  const std::string& getCode() const { return code_; }
  const std::vector<Feature>& getFeatures() const { return features_; }
  void addFeature(std::string name, std::string value) {
    features_.emplace_back(std::move(name), std::move(value));
  }

  /* Reads the whole text form; on failure an English message goes to
   * *error (when given) and the record stays. */
  bool parseString(const std::string& text, std::string* error);
  /* The text form (see above). */
  std::string formatString() const;

  /* A field with the reserved characters escaped, and back (false for a
   * "%" not followed by two hex digits). */
  static std::string escape(const std::string& field);
  static bool unescape(const std::string& text, std::string* field);

  bool operator==(const EClassification& o) const {
    return system_ == o.system_ && version_ == o.version_ && code_ == o.code_ &&
           features_ == o.features_;
  }
  bool operator!=(const EClassification& o) const { return !(*this == o); }

 private:
  std::string system_, version_, code_;
  std::vector<Feature> features_;
};

}  // namespace qor::quv::basket

#endif
