#include "orvosoundbackend.h" // must compile on its own as C++20
