// The list of instances: a host list whose element-changing operations take
// an instance, a TamVar holding one, or an instance number.
#pragma once
#include <Python.h>

extern PyTypeObject InstanceList_Type;

// Makes the host list the base type; the module entry runs it before readying.
void InstanceList_prepare();
