#pragma once

#ifdef __cplusplus
extern "C" {
#endif

typedef int kern_return_t;
typedef unsigned int mach_port_t;
typedef mach_port_t task_port_t;
typedef unsigned int boolean_t;

#define KERN_SUCCESS 0
#define MACH_PORT_NULL 0

mach_port_t mach_task_self(void);

#ifdef __cplusplus
}
#endif
