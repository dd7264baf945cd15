/// The platform's elementary types and result codes.
#pragma once

#include <cstdint>

/// A 16-bit result; `noErr` is success, everything else one of the codes below.
using OSErr = std::int16_t;
/// The same codes, widened, where a call also reports results of other managers.
using OSStatus = std::int32_t;

/// Four characters read as one big-endian 32-bit number.
using FourCharCode = std::uint32_t;
using OSType = FourCharCode;

/// `FourChars("odoc")`: the code made of four characters.
constexpr FourCharCode FourChars(const char (&text)[5]) {
  const auto byte = [&text](int index) {
    return static_cast<FourCharCode>(static_cast<unsigned char>(text[index]));
  };
  return byte(0) << 24 | byte(1) << 16 | byte(2) << 8 | byte(3);
}

inline constexpr OSErr noErr = 0;
inline constexpr OSErr dskFulErr = -34;
inline constexpr OSErr ioErr = -36;
inline constexpr OSErr bdNamErr = -37;
inline constexpr OSErr tmfoErr = -42;
inline constexpr OSErr eofErr = -39;
inline constexpr OSErr fnfErr = -43;
inline constexpr OSErr wPrErr = -44;
inline constexpr OSErr fBsyErr = -47;
inline constexpr OSErr dupFNErr = -48;
inline constexpr OSErr paramErr = -50;
inline constexpr OSErr permErr = -54;
inline constexpr OSErr memFullErr = -108;
inline constexpr OSErr dirNFErr = -120;
inline constexpr OSErr userCanceledErr = -128;
inline constexpr OSErr diffVolErr = -1303;
inline constexpr OSErr errFSNoMoreItems = -1417;
inline constexpr OSErr errFSRefsDifferent = -1420;
inline constexpr OSErr errFSOperationNotSupported = -1426;
inline constexpr OSErr errAECoercionFail = -1700;
inline constexpr OSErr errAEDescNotFound = -1701;
inline constexpr OSErr errAEEventNotHandled = -1708;
inline constexpr OSErr dragNotAcceptedErr = -1857;
inline constexpr OSErr badDragFlavorErr = -1852;
inline constexpr OSErr afpAccessDenied = -5000;
inline constexpr OSStatus eventNotHandledErr = -9874;
inline constexpr OSStatus eventParameterNotFoundErr = -9870;
inline constexpr OSStatus menuItemNotFoundErr = -5622;
inline constexpr OSStatus kIBCarbonRuntimeCantFindNibFile = -10960;
inline constexpr OSStatus kIBCarbonRuntimeCantFindObject = -10962;
