/* Image lookup of the host framework: product-database nodes that name
 * their images, the views that show them, and the factory that turns an
 * image file into an image object.
 *
 * A node keeps one image file per image column (a column id such as
 * "thumbnail"); a view (a basket or catalogue view) says which column it
 * shows by default. The image factory is installed by the host at start-up
 * (Funcs::setImageFactory) and used by views to load what a node names.
 *
 * Strings are zobStrDup copies for the caller to free; references handed
 * out are owned by the caller. */
#ifndef FW_FW_IIMAGE_H
#define FW_FW_IIMAGE_H

#include <zob/zob_unknown.h>

namespace qor::quv::dsr {

class IPDBNode : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/dsr/IPDBNode:1.0";

  /* The path of the node's image in the column; zob::kNotFound when the
   * node has none there. */
  virtual ZResult getImagePath(const char* columnId, char** out) = 0;

 protected:
  ~IPDBNode() = default;
};

class IPDBView : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/dsr/IPDBView:1.0";

  /* The image column the view shows unless told otherwise. */
  virtual ZResult getDefaultImageColumnId(char** out) = 0;

 protected:
  ~IPDBView() = default;
};

using IPDBNode_Adapter = zob::Adapter<IPDBNode>;
using IPDBView_Adapter = zob::Adapter<IPDBView>;

}  // namespace qor::quv::dsr

namespace qor::quv::fw {

class IImageFactory : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/fw/IImageFactory:1.0";

  /* Loads the image file at `path` into an image object. */
  virtual ZResult createImage(const char* path, zob::IUnknown** out) = 0;

 protected:
  ~IImageFactory() = default;
};

using IImageFactory_Adapter = zob::Adapter<IImageFactory>;

}  // namespace qor::quv::fw

#endif
