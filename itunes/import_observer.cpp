#include "itunes/import_observer.h"

const ImportObserver* import_observer = nullptr;
