#include "documents/DocumentFormats.h"
