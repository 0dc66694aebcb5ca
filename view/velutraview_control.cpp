#include "velutraview.h"
