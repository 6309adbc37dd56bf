#pragma once

// Marks the classes and functions that liborv.common.so exports. Everything else in the
// library is built with hidden visibility.
#define ORV_COMMON_API __attribute__((visibility("default")))
