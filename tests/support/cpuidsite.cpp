#include "tests/support/cpuidsite.h"

asm(R"(
    .text
    .globl ExecuteCpuid
    .globl kCpuidSite
ExecuteCpuid:
    pushq %rbx
    movl %ecx, %eax
    movl %edx, %ecx
kCpuidSite:
    cpuid
    movl %eax, (%r8)
    movl %ebx, 4(%r8)
    movl %ecx, 8(%r8)
    movl %edx, 12(%r8)
    popq %rbx
    ret
)");
