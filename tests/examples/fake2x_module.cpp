#include "fake_pkcs11.h"
