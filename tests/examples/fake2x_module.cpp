#include "fake2x_module.h"
