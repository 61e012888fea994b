// Properties of the device service; what fails is logged.  Any thread.
#pragma once

// False, with `*value` left alone, when the property cannot be read.
bool rova_property_get(int type, int property, int *value);
// False when it cannot be set.
bool rova_property_set(int type, int property, int value);
