#include "ttmenu.h"
