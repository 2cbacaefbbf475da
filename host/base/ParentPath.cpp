#include "host/base/ParentPath.h"

namespace Varnok {

HString ParentPath(HString path) {
    path.dir_fit(false);
    path.cut_to(path.view().rfind(u'/') + 1);  // nothing is left where there is no separator
    return path;
}

}  // namespace Varnok
