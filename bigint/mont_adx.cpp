// Modular exponentiation with MULX and the two carry chains of ADCX and ADOX. Numbers are multiples of 8 limbs long:
// a window of eight registers slides along the sum while eight limbs of one factor are multiplied by all of the
// other.
#include "bigint/exponentiation.hpp"
#include "bigint/mod_exp.hpp"
#include "bigint/mont_limb_core.hpp"
#include "bigint/mont_portable.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>

// In what follows W is the window in r8 to r15, its lowest limb moving on by one register with each row.
//
// zrc_mont_adx_rows: W + t[0..] + (the bit pending in rbp) + a[0..] * b[0..7]. All but the top eight limbs goes to t,
// these stay in W and rbp. rsi: a, rdi: t, rcx: b; the end of a is on top of the caller's stack.
//
// No sum overflows: W + a * b_i <= (2^512 - 1) + (2^512 - 1) (2^64 - 1) = 2^576 - 2^64.
__asm__(R"(
    .pushsection .text

    # low and high limb of a product, each into its own carry chain
    .macro zrc_product offset, low, high
    mulxq \offset(%rsi), %rax, %rbx
    adcxq %rax, \low
    adoxq %rbx, \high
    .endm

    # all of a row but its lowest product; \w0 becomes the top of the window and holds 0 before
    .macro zrc_rest_of_row w0, w1, w2, w3, w4, w5, w6, w7
    zrc_product 8, \w1, \w2
    zrc_product 16, \w2, \w3
    zrc_product 24, \w3, \w4
    zrc_product 32, \w4, \w5
    zrc_product 40, \w5, \w6
    zrc_product 48, \w6, \w7
    zrc_product 56, \w7, \w0
    movl $0, %eax
    adcxq %rax, \w0
    .endm

    .macro zrc_row k, w0, w1, w2, w3, w4, w5, w6, w7
    movq 8*\k(%rcx), %rdx
    xorl %eax, %eax
    zrc_product 0, \w0, \w1
    movq \w0, 8*\k(%rdi)
    movq $0, \w0
    zrc_rest_of_row \w0, \w1, \w2, \w3, \w4, \w5, \w6, \w7
    .endm

    # the multiple of the modulus that clears the lowest limb; the quotient digit takes its place in t
    .macro zrc_reduction_row k, w0, w1, w2, w3, w4, w5, w6, w7
    movq \w0, %rdx
    imulq 16(%rsp), %rdx
    movq %rdx, 8*\k(%rdi)
    xorl %eax, %eax
    zrc_product 0, \w0, \w1
    zrc_rest_of_row \w0, \w1, \w2, \w3, \w4, \w5, \w6, \w7
    .endm

    .macro zrc_eight_rows row
    \row 0, %r8, %r9, %r10, %r11, %r12, %r13, %r14, %r15
    \row 1, %r9, %r10, %r11, %r12, %r13, %r14, %r15, %r8
    \row 2, %r10, %r11, %r12, %r13, %r14, %r15, %r8, %r9
    \row 3, %r11, %r12, %r13, %r14, %r15, %r8, %r9, %r10
    \row 4, %r12, %r13, %r14, %r15, %r8, %r9, %r10, %r11
    \row 5, %r13, %r14, %r15, %r8, %r9, %r10, %r11, %r12
    \row 6, %r14, %r15, %r8, %r9, %r10, %r11, %r12, %r13
    \row 7, %r15, %r8, %r9, %r10, %r11, %r12, %r13, %r14
    .endm

    .macro zrc_clear_window
    xorl %r8d, %r8d
    xorl %r9d, %r9d
    xorl %r10d, %r10d
    xorl %r11d, %r11d
    xorl %r12d, %r12d
    xorl %r13d, %r13d
    xorl %r14d, %r14d
    xorl %r15d, %r15d
    xorl %ebp, %ebp
    .endm

    .macro zrc_store_window
    movq %r8, 0(%rdi)
    movq %r9, 8(%rdi)
    movq %r10, 16(%rdi)
    movq %r11, 24(%rdi)
    movq %r12, 32(%rdi)
    movq %r13, 40(%rdi)
    movq %r14, 48(%rdi)
    movq %r15, 56(%rdi)
    .endm

    .macro zrc_add_top offset, w
    adcxq \offset(%rdi), \w
    adoxq %rax, \w
    .endm

    # t[0..7] = W + t[0..7] + the bit pending in rbp + rax, a bit from before; rax = the carry, 0 or 1: W and its bit
    # are below 2^512 together
    .macro zrc_add_window_to_top
    addb $0x7f, %al
    movl $0, %eax
    adcxq %rbp, %rbp
    zrc_add_top 0, %r8
    zrc_add_top 8, %r9
    zrc_add_top 16, %r10
    zrc_add_top 24, %r11
    zrc_add_top 32, %r12
    zrc_add_top 40, %r13
    zrc_add_top 48, %r14
    zrc_add_top 56, %r15
    movl $0, %ebx
    adcxq %rbx, %rax
    adoxq %rbx, %rax
    zrc_store_window
    .endm

    .macro zrc_enter
    .cfi_startproc
    .irp register, rbx, rbp, r12, r13, r14, r15
    pushq %\register
    .cfi_adjust_cfa_offset 8
    .cfi_rel_offset %\register, 0
    .endr
    subq $40, %rsp
    .cfi_adjust_cfa_offset 40
    .endm

    .macro zrc_leave
    addq $40, %rsp
    .cfi_adjust_cfa_offset -40
    .irp register, r15, r14, r13, r12, rbp, rbx
    popq %\register
    .cfi_adjust_cfa_offset -8
    .cfi_restore %\register
    .endr
    ret
    .cfi_endproc
    .endm

    .p2align 6
    .type zrc_mont_adx_rows, @function
zrc_mont_adx_rows:
    .cfi_startproc
1:  negq %rbp
    adcq 0(%rdi), %r8
    adcq 8(%rdi), %r9
    adcq 16(%rdi), %r10
    adcq 24(%rdi), %r11
    adcq 32(%rdi), %r12
    adcq 40(%rdi), %r13
    adcq 48(%rdi), %r14
    adcq 56(%rdi), %r15
    sbbq %rbp, %rbp
    zrc_eight_rows zrc_row
    leaq 64(%rsi), %rsi
    leaq 64(%rdi), %rdi
    cmpq %rsi, 8(%rsp)
    jne 1b
    ret
    .cfi_endproc
    .size zrc_mont_adx_rows, . - zrc_mont_adx_rows

    # t = a b; the lower half of t is 0 before. rdi: t, rsi: a, rdx: b, rcx: limbs
    .globl zrc_mont_adx_multiply
    .hidden zrc_mont_adx_multiply
    .type zrc_mont_adx_multiply, @function
    .p2align 5
zrc_mont_adx_multiply:
    zrc_enter
    leaq (%rsi,%rcx,8), %rax
    movq %rax, 0(%rsp)
    movq %rsi, 8(%rsp)
    leaq (%rdx,%rcx,8), %rax
    movq %rax, 16(%rsp)
    movq %rdx, %rcx
2:  movq %rdi, 24(%rsp)
    movq 8(%rsp), %rsi
    zrc_clear_window
    call zrc_mont_adx_rows
    negq %rbp
    .irp w, %r8, %r9, %r10, %r11, %r12, %r13, %r14, %r15
    adcq $0, \w
    .endr
    zrc_store_window
    movq 24(%rsp), %rdi
    leaq 64(%rcx), %rcx
    leaq 64(%rdi), %rdi
    cmpq %rcx, 16(%rsp)
    jne 2b
    zrc_leave
    .size zrc_mont_adx_multiply, . - zrc_mont_adx_multiply

    # adds a multiple of m to t so that its lower half vanishes (it holds the quotient then); returns the carry out of
    # t.
    # rdi: t, rsi: m, rdx: limbs, rcx: -m^-1 mod 2^64
    .globl zrc_mont_adx_reduce
    .hidden zrc_mont_adx_reduce
    .type zrc_mont_adx_reduce, @function
    .p2align 5
zrc_mont_adx_reduce:
    zrc_enter
    leaq (%rsi,%rdx,8), %rax
    movq %rax, 0(%rsp)
    movq %rsi, 8(%rsp)
    movq %rcx, 16(%rsp)
    leaq (%rdi,%rdx,8), %rax
    movq %rax, 24(%rsp)
    xorl %eax, %eax
3:  movq %rax, 32(%rsp)
    movq 8(%rsp), %rsi
    movq %rdi, %rcx
    movq 0(%rdi), %r8
    movq 8(%rdi), %r9
    movq 16(%rdi), %r10
    movq 24(%rdi), %r11
    movq 32(%rdi), %r12
    movq 40(%rdi), %r13
    movq 48(%rdi), %r14
    movq 56(%rdi), %r15
    zrc_eight_rows zrc_reduction_row
    xorl %ebp, %ebp
    leaq 64(%rsi), %rsi
    leaq 64(%rdi), %rdi
    cmpq %rsi, 0(%rsp)
    je 4f
    call zrc_mont_adx_rows
4:  movq 32(%rsp), %rax
    zrc_add_window_to_top
    leaq 64(%rcx), %rdi
    cmpq %rdi, 24(%rsp)
    jne 3b
    zrc_leave
    .size zrc_mont_adx_reduce, . - zrc_mont_adx_reduce


    # t = a^2. rdi: t, rsi: a, rdx: limbs
    .globl zrc_mont_adx_square
    .hidden zrc_mont_adx_square
    .type zrc_mont_adx_square, @function
    .p2align 5
zrc_mont_adx_square:
    zrc_enter
    leaq (%rsi,%rdx,8), %rax
    movq %rax, 0(%rsp)
    movq %rsi, 8(%rsp)
    movq %rdi, 16(%rsp)

    # the products inside each group of eight limbs fill t
5:  movq 0(%rsi), %rdx
    mulxq 8(%rsi), %r8, %r9
    mulxq 16(%rsi), %rax, %r10
    addq %rax, %r9
    mulxq 24(%rsi), %rax, %r11
    adcq %rax, %r10
    mulxq 32(%rsi), %rax, %r12
    adcq %rax, %r11
    mulxq 40(%rsi), %rax, %r13
    adcq %rax, %r12
    mulxq 48(%rsi), %rax, %r14
    adcq %rax, %r13
    mulxq 56(%rsi), %rax, %r15
    adcq %rax, %r14
    adcq $0, %r15
    movq $0, 0(%rdi)
    movq %r8, 8(%rdi)
    movq %r9, 16(%rdi)

    movq 8(%rsi), %rdx
    xorl %r8d, %r8d
    zrc_product 16, %r10, %r11
    movq %r10, 24(%rdi)
    zrc_product 24, %r11, %r12
    movq %r11, 32(%rdi)
    zrc_product 32, %r12, %r13
    zrc_product 40, %r13, %r14
    zrc_product 48, %r14, %r15
    zrc_product 56, %r15, %r8
    movl $0, %eax
    adcxq %rax, %r8

    movq 16(%rsi), %rdx
    xorl %r9d, %r9d
    zrc_product 24, %r12, %r13
    movq %r12, 40(%rdi)
    zrc_product 32, %r13, %r14
    movq %r13, 48(%rdi)
    zrc_product 40, %r14, %r15
    zrc_product 48, %r15, %r8
    zrc_product 56, %r8, %r9
    movl $0, %eax
    adcxq %rax, %r9

    movq 24(%rsi), %rdx
    xorl %r10d, %r10d
    zrc_product 32, %r14, %r15
    movq %r14, 56(%rdi)
    zrc_product 40, %r15, %r8
    movq %r15, 64(%rdi)
    zrc_product 48, %r8, %r9
    zrc_product 56, %r9, %r10
    movl $0, %eax
    adcxq %rax, %r10

    movq 32(%rsi), %rdx
    xorl %r11d, %r11d
    zrc_product 40, %r8, %r9
    movq %r8, 72(%rdi)
    zrc_product 48, %r9, %r10
    movq %r9, 80(%rdi)
    zrc_product 56, %r10, %r11
    movl $0, %eax
    adcxq %rax, %r11

    movq 40(%rsi), %rdx
    xorl %r12d, %r12d
    zrc_product 48, %r10, %r11
    movq %r10, 88(%rdi)
    zrc_product 56, %r11, %r12
    movq %r11, 96(%rdi)
    movl $0, %eax
    adcxq %rax, %r12

    movq 48(%rsi), %rdx
    mulxq 56(%rsi), %rax, %r13
    addq %rax, %r12
    adcq $0, %r13
    movq %r12, 104(%rdi)
    movq %r13, 112(%rdi)
    movq $0, 120(%rdi)

    leaq 64(%rsi), %rsi
    leaq 128(%rdi), %rdi
    cmpq %rsi, 0(%rsp)
    jne 5b

    # the products of each group by all later ones
    movq 8(%rsp), %rcx
    movq 16(%rsp), %rdi
    xorl %eax, %eax
6:  leaq 64(%rcx), %rsi
    leaq 64(%rdi), %rdi
    movq %rdi, 24(%rsp)
    movq %rax, 32(%rsp)
    zrc_clear_window
    cmpq %rsi, 0(%rsp)
    je 7f
    call zrc_mont_adx_rows
    movq 32(%rsp), %rax
    zrc_add_window_to_top
    leaq 64(%rcx), %rcx
    movq 24(%rsp), %rdi
    leaq 64(%rdi), %rdi
    jmp 6b
7:  movq 32(%rsp), %rax
    zrc_add_window_to_top

    # twice that, and the squares of the limbs
    movq 8(%rsp), %rsi
    movq 16(%rsp), %rdi
    movq 0(%rsp), %rcx
    subq %rsi, %rcx
    shrq $5, %rcx
    xorl %eax, %eax
8:  .irp i, 0, 1, 2, 3
    movq 8*\i(%rsi), %rdx
    mulxq %rdx, %rax, %rbx
    movq 16*\i(%rdi), %r8
    movq 16*\i+8(%rdi), %r9
    adcxq %r8, %r8
    adoxq %rax, %r8
    adcxq %r9, %r9
    adoxq %rbx, %r9
    movq %r8, 16*\i(%rdi)
    movq %r9, 16*\i+8(%rdi)
    .endr
    leaq 32(%rsi), %rsi
    leaq 64(%rdi), %rdi
    leaq -1(%rcx), %rcx
    jrcxz 9f
    jmp 8b
9:  zrc_leave
    .size zrc_mont_adx_square, . - zrc_mont_adx_square

    # r = t - bit * m, for a bit that is 0 or 1. rdi: r, rsi: t, rdx: bit, rcx: m, r8: limbs
    .globl zrc_mont_adx_subtract
    .hidden zrc_mont_adx_subtract
    .type zrc_mont_adx_subtract, @function
    .p2align 5
zrc_mont_adx_subtract:
    .cfi_startproc
    shrq $3, %r8
    xorl %eax, %eax
10: .irp i, 0, 8, 16, 24, 32, 40, 48, 56
    mulxq \i(%rcx), %rax, %r9
    movq \i(%rsi), %r10
    sbbq %rax, %r10
    movq %r10, \i(%rdi)
    .endr
    leaq 64(%rcx), %rcx
    leaq 64(%rsi), %rsi
    leaq 64(%rdi), %rdi
    decq %r8
    jne 10b
    ret
    .cfi_endproc
    .size zrc_mont_adx_subtract, . - zrc_mont_adx_subtract

    .popsection
)");

namespace zrc {
namespace {

extern "C" {
void zrc_mont_adx_multiply(limb* t, const limb* a, const limb* b, std::size_t limbs) noexcept;
void zrc_mont_adx_square(limb* t, const limb* a, std::size_t limbs) noexcept;
limb zrc_mont_adx_reduce(limb* t, const limb* m, std::size_t limbs, limb n0) noexcept;
void zrc_mont_adx_subtract(limb* r, const limb* t, limb bit, const limb* m, std::size_t limbs) noexcept;
}

struct adx_montgomery {
    static constexpr std::size_t length(std::size_t limbs) noexcept { return aligned_limbs(limbs); }
    static constexpr std::size_t scratch_limbs(std::size_t n) noexcept { return 2 * n; }

    static void mul(limb* r, const limb* a, const limb* b, const montgomery_modulus& m) noexcept
    {
        std::fill_n(m.scratch, m.n, limb{0});
        zrc_mont_adx_multiply(m.scratch, a, b, m.n);
        reduce(r, m);
    }

    static void sqr(limb* r, const limb* a, const montgomery_modulus& m) noexcept
    {
        zrc_mont_adx_square(m.scratch, a, m.n);
        reduce(r, m);
    }

    static void leave(limb* r, const limb* a, const montgomery_modulus& m) noexcept
    {
        std::copy_n(a, m.n, m.scratch);
        std::fill_n(m.scratch + m.n, m.n, limb{0});
        reduce(r, m);
    }

private:
    static void reduce(limb* r, const montgomery_modulus& m) noexcept
    {
        const limb carry = zrc_mont_adx_reduce(m.scratch, m.m, m.n, m.n0);
        zrc_mont_adx_subtract(r, m.scratch + m.n, carry, m.m, m.n);
    }
};

using core = limb_core<adx_montgomery>;

// Below this many limbs the padding to eight costs more than the instructions gain.
constexpr std::size_t kLeastLimbs = 6;

bool open_any(const mod_exp_task& task) noexcept
{
    return task.limbs < kLeastLimbs ? kMontPortable.open(task) : open_exponentiation<core>(task);
}

bool open_product_any(const mod_exp_task& first, const mod_exp_task& second) noexcept
{
    return first.limbs < kLeastLimbs ? kMontPortable.open_product(first, second) : open_product<core>(first, second);
}

bool secret_any(const mod_exp_task& task) noexcept
{
    return task.limbs < kLeastLimbs ? kMontPortable.secret(task) : secret_exponentiation_alone<core>(task);
}

bool pair_any(const mod_exp_task& first, const mod_exp_task& second) noexcept
{
    return secret_any(first) && secret_any(second);
}

} // namespace

constinit const mod_exp_kernel kMontAdx{open_any, open_product_any, secret_any, pair_any};

} // namespace zrc
