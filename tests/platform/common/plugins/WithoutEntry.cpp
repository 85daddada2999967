#include "EntryObject.h"

VELK_TEST_ENTRY int velkSomethingElse() {
    return 1;
}
