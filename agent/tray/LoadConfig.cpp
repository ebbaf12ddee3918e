#include "ProfileParser.h"

bool LoadConfig()
{
    return true;
}
