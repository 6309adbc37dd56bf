#pragma once

// Marks the classes and functions that liborv.nol.common.so exports (namespaces
// orv::nol::common, orv::bafu and orv::media::upnp::soap). Everything else in the library is
// built with hidden visibility.
#define ORV_NOL_API __attribute__((visibility("default")))
