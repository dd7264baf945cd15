/// Conversion of text between encodings.
#pragma once

#include <cstddef>

#include "platform/file_manager.h"

/// A converter; opened by TECCreateConverter and given back by TECDisposeConverter.
using TECObjectRef = struct OpaqueTECObject *;

/// Opens a converter. Only UTF-16 (kTextEncodingUnicodeDefault) to Mac Roman and Mac Roman to
/// UTF-16 exist; any other pair is paramErr.
OSStatus TECCreateConverter(TECObjectRef *converter, TextEncoding from, TextEncoding to);

/// Converts `inputSize` bytes and says how many bytes were read and written. Accents are composed
/// first, so both spellings of "é" give one byte; a character that Mac Roman lacks gives "?".
/// Stops, without error, where the output is full. A missing converter is paramErr with nothing
/// written.
OSStatus TECConvertText(TECObjectRef converter, const void *input, std::size_t inputSize,
                        std::size_t *actualInputSize, void *output, std::size_t outputSize,
                        std::size_t *actualOutputSize);

OSStatus TECDisposeConverter(TECObjectRef converter);
