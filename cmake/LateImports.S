// The entries of the functions that are loaded when they are first called, and
// the way from a call to zustd::resolveLateFunction(); see ZuLateLoading.h. The
// list is written by WriteLateImports.cmake.
//
// The first call of a function arrives here with its arguments in place. They
// are kept, those in the vector registers too, while the function is looked
// for; an exception from there passes through, which is what the unwind
// directives are for.

#ifdef __x86_64__
#define SYMBOL(name) name
#define WORD .quad
#define WORD_SIZE 8
#else
#define SYMBOL(name) _##name
#define WORD .long
#define WORD_SIZE 4
#endif

    .section .rdata, "dr"
    .balign WORD_SIZE
    .globl SYMBOL(zustdLateFunctions)
SYMBOL(zustdLateFunctions):

// symbol: the compiler's name for it; name: the library's; both get an entry.
.macro late_function symbol, name, library
    .section .rdata$late_names, "dr"
8:  .asciz "\name"

    .section .rdata, "dr"
9:  WORD __imp_\symbol, late_library_\library, 8b

    .data
    .balign WORD_SIZE
    .globl __imp_\symbol
__imp_\symbol:
    WORD 7f

    .text
    .globl \symbol
#ifdef __x86_64__
\symbol:
    jmp *__imp_\symbol(%rip)
7:  leaq 9b(%rip), %rax
#else
\symbol:
    jmp *__imp_\symbol
7:  movl $9b, %eax
#endif
    jmp late_call
.endm

.macro late_library library
    .section .rdata$late_names, "dr"
late_library_\library:
    .asciz "\library\().dll"
.endm

    .text
#ifdef __x86_64__
    .seh_proc late_call
late_call:
    subq $0x88, %rsp
    .seh_stackalloc 0x88
    .seh_endprologue
    movq %rcx, 0x20(%rsp)
    movq %rdx, 0x28(%rsp)
    movq %r8, 0x30(%rsp)
    movq %r9, 0x38(%rsp)
    movups %xmm0, 0x40(%rsp)
    movups %xmm1, 0x50(%rsp)
    movups %xmm2, 0x60(%rsp)
    movups %xmm3, 0x70(%rsp)
    movq %rax, %rcx
    call zustdResolveLate
    movq 0x20(%rsp), %rcx
    movq 0x28(%rsp), %rdx
    movq 0x30(%rsp), %r8
    movq 0x38(%rsp), %r9
    movups 0x40(%rsp), %xmm0
    movups 0x50(%rsp), %xmm1
    movups 0x60(%rsp), %xmm2
    movups 0x70(%rsp), %xmm3
    addq $0x88, %rsp
    jmp *%rax
    .seh_endproc
#else
    .cfi_sections .eh_frame
    .cfi_startproc
late_call:
    pushl %ecx
    .cfi_adjust_cfa_offset 4
    pushl %edx
    .cfi_adjust_cfa_offset 4
    pushl %eax
    .cfi_adjust_cfa_offset 4
    call _zustdResolveLate
    addl $4, %esp
    .cfi_adjust_cfa_offset -4
    popl %edx
    .cfi_adjust_cfa_offset -4
    popl %ecx
    .cfi_adjust_cfa_offset -4
    jmp *%eax
    .cfi_endproc
#endif

#include "late_imports.inc"

    .section .rdata, "dr"
    .globl SYMBOL(zustdLateFunctionCount)
SYMBOL(zustdLateFunctionCount):
    WORD (. - SYMBOL(zustdLateFunctions)) / (3 * WORD_SIZE)
