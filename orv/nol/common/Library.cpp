// The translation unit that anchors liborv.nol.common.so while its families are added: the
// library links the two platform libraries, so a service that links it gets them too.
#include "orv/nol/common/Export.h"
