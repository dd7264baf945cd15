#include "platform/linux/system/errors.h"

#include <cerrno>

OSErr ErrorFromErrno(int error) {
  switch (error) {
    case 0:
      return noErr;
    case ENOENT:
      return fnfErr;
    case EEXIST:
      return dupFNErr;
    case EACCES:
      return afpAccessDenied;
    case EPERM:
      return permErr;
    case EROFS:
      return wPrErr;
    case ENOSPC:
    case EDQUOT:
      return dskFulErr;
    case ENAMETOOLONG:
      return bdNamErr;
    case EXDEV:
      return diffVolErr;
    case EBUSY:
    case ENOTEMPTY:
      return fBsyErr;
    case ENOTDIR:
      return dirNFErr;
    case EMFILE:
    case ENFILE:
      return tmfoErr;
    case ENOMEM:
      return memFullErr;
    case EINVAL:
    case ENOSYS:
    case EOPNOTSUPP:
      return paramErr;
    default:
      return ioErr;
  }
}
