#pragma once

// Marks the classes and functions that liborv.dataformats.so exports. Everything else in the
// library is built with hidden visibility.
#define ORV_DATAFORMATS_API __attribute__((visibility("default")))
