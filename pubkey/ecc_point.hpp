// Points of y^2 = x^3 + a x + b in Jacobian coordinates, over a field as in pubkey/field.hpp: (X, Y, Z) is the affine
// point (X / Z^2, Y / Z^3), and infinity when Z is 0.
#pragma once

#include "pubkey/field.hpp"

#include <cstddef>

namespace zrc {

template <class Element>
struct jacobian_point {
    Element x, y, z;
};

template <class Element>
struct affine_point {
    Element x, y;
    limb_mask infinite; // all ones: x and y are 0
};

// What a is: it decides how a point is doubled.
enum class coefficient_kind {
    zero,
    minus_three,
    other
};

// The group law. Functions called `open` branch on what points hold; the others do not. Results may be operands.
template <class Field>
class point_arithmetic {
public:
    using element = typename Field::element;
    using jacobian = jacobian_point<element>;
    using affine = affine_point<element>;

    // Refers to the field and to a, whose kind it is.
    point_arithmetic(const Field& field, const element& a, coefficient_kind kind) noexcept
        : field_{&field}, a_{&a}, kind_{kind}
    {
    }

    static coefficient_kind kind_of(const Field& field, const element& a) noexcept
    {
        if (Field::is_zero(a) != 0) return coefficient_kind::zero;
        element sum = a;
        for (int i = 0; i < 3; ++i)
            field.add(sum, sum, field.one());
        return Field::is_zero(sum) != 0 ? coefficient_kind::minus_three : coefficient_kind::other;
    }

    jacobian extended(const affine& p) const noexcept
    {
        jacobian r{p.x, p.y, field_->one()};
        Field::set_if(p.infinite, r.z, element{});
        return r;
    }

    // Any point, infinity too.
    [[gnu::noinline]] void double_point(jacobian& r, const jacobian& p) const noexcept
    {
        const Field& f = *field_;
        element slope, beta, doubled, t;
        set_slope(slope, p);
        f.twice(doubled, p.y);
        f.mul(r.z, doubled, p.z);
        f.sqr(doubled, doubled); // 4 Y^2
        f.mul(beta, doubled, p.x);
        f.sqr(doubled, doubled);
        f.half(doubled, doubled); // 8 Y^4
        f.sqr(t, slope);
        f.sub(t, t, beta);
        f.sub(r.x, t, beta);
        f.sub(t, beta, r.x);
        f.mul(t, t, slope);
        f.sub(r.y, t, doubled);
    }

    // Any two points, equal, opposite and infinite ones too.
    [[gnu::noinline]] void add(jacobian& r, const jacobian& p, const jacobian& q) const noexcept
    {
        const Field& f = *field_;
        sum s;
        element zz, cube;
        f.sqr(zz, q.z);
        f.mul(s.u1, p.x, zz);
        f.mul(cube, zz, q.z);
        f.mul(s.s1, p.y, cube);
        f.sqr(zz, p.z);
        f.mul(s.u2, q.x, zz);
        f.mul(cube, zz, p.z);
        f.mul(s.s2, q.y, cube);
        f.mul(s.z, p.z, q.z);
        f.sqr(s.zz, s.z);
        const jacobian first = p, second = q;
        finish(r, s);
        set_if(Field::is_zero(first.z), r, second);
        set_if(Field::is_zero(second.z), r, first);
    }

    [[gnu::noinline]] void add(jacobian& r, const jacobian& p, const affine& q) const noexcept
    {
        const Field& f = *field_;
        sum s;
        element cube;
        f.sqr(s.zz, p.z);
        s.u1 = p.x;
        s.s1 = p.y;
        s.z = p.z;
        f.mul(s.u2, q.x, s.zz);
        f.mul(cube, s.zz, p.z);
        f.mul(s.s2, q.y, cube);
        const jacobian first = p;
        finish(r, s);
        set_if(Field::is_zero(first.z), r, extended(q));
        set_if(q.infinite, r, first);
    }

    // Subtracts q where the mask is set.
    void open_add(jacobian& r, const jacobian& p, const jacobian& q, limb_mask negative = 0) const noexcept
    {
        if (Field::is_zero(p.z) != 0) {
            r = q;
            negate_if(negative, r.y);
            return;
        }
        if (Field::is_zero(q.z) != 0) {
            r = p;
            return;
        }
        const Field& f = *field_;
        difference d;
        element zz, cube, other_x = q.x, other_y = q.y;
        negate_if(negative, other_y);
        f.sqr(zz, q.z);
        f.mul(d.x1, p.x, zz);
        f.mul(cube, zz, q.z);
        f.mul(d.y1, p.y, cube);
        f.sqr(zz, p.z);
        f.mul(other_x, other_x, zz);
        f.mul(cube, zz, p.z);
        f.mul(other_y, other_y, cube);
        f.sub(d.run, other_x, d.x1);
        f.sub(d.rise, other_y, d.y1);
        f.mul(d.z, p.z, q.z);
        finish_open(r, p, d);
    }

    void open_add(jacobian& r, const jacobian& p, const affine& q, limb_mask negative = 0) const noexcept
    {
        if (q.infinite != 0) {
            r = p;
            return;
        }
        if (Field::is_zero(p.z) != 0) {
            r = extended(q);
            negate_if(negative, r.y);
            return;
        }
        const Field& f = *field_;
        difference d{p.x, p.y, p.z, {}, {}};
        element zz, cube, other_y = q.y;
        negate_if(negative, other_y);
        f.sqr(zz, p.z);
        f.mul(d.run, q.x, zz);
        f.mul(cube, zz, p.z);
        f.mul(d.rise, other_y, cube);
        f.sub(d.run, d.run, p.x);
        f.sub(d.rise, d.rise, p.y);
        finish_open(r, p, d);
    }

    void negate_if(limb_mask mask, element& y) const noexcept
    {
        element negative;
        field_->negate(negative, y);
        Field::set_if(mask, y, negative);
    }

    // All of them with one inversion. `products` is room for as many elements.
    void make_affine(affine* r, const jacobian* p, element* products, std::size_t count) const noexcept
    {
        const Field& f = *field_;
        element product = f.one(), inverse;
        for (std::size_t i = 0; i < count; ++i) {
            products[i] = product;
            f.mul(product, product, finite_z(p[i]));
        }
        f.inverse(inverse, product);
        for (std::size_t i = count; i-- > 0;) {
            element z_inverse, square;
            f.mul(z_inverse, inverse, products[i]);
            f.mul(inverse, inverse, finite_z(p[i]));
            f.sqr(square, z_inverse);
            f.mul(r[i].x, p[i].x, square);
            f.mul(square, square, z_inverse);
            f.mul(r[i].y, p[i].y, square);
            r[i].infinite = Field::is_zero(p[i].z);
            Field::set_if(r[i].infinite, r[i].x, element{});
            Field::set_if(r[i].infinite, r[i].y, element{});
        }
    }

private:
    // Both points over the common denominator z: (u / z^2, s / z^3).
    struct sum {
        element u1, s1, u2, s2, z, zz;
    };

    // One point over the common denominator, and what the other has more.
    struct difference {
        element x1, y1, z, run, rise;
    };

    static void set_if(limb_mask mask, jacobian& r, const jacobian& p) noexcept
    {
        Field::set_if(mask, r.x, p.x);
        Field::set_if(mask, r.y, p.y);
        Field::set_if(mask, r.z, p.z);
    }

    element finite_z(const jacobian& p) const noexcept
    {
        element z = p.z;
        Field::set_if(Field::is_zero(z), z, field_->one());
        return z;
    }

    // 3 X^2 + a Z^4
    void set_slope(element& slope, const jacobian& p) const noexcept
    {
        const Field& f = *field_;
        element t, u;
        if (kind_ == coefficient_kind::minus_three) { // 3 (X - Z^2) (X + Z^2)
            f.sqr(u, p.z);
            f.sub(t, p.x, u);
            f.add(u, p.x, u);
            f.mul(t, t, u);
        } else {
            f.sqr(t, p.x);
        }
        f.twice(slope, t);
        f.add(slope, slope, t);
        if (kind_ != coefficient_kind::other) return;
        f.sqr(t, p.z);
        f.sqr(t, t);
        f.mul(t, t, *a_);
        f.add(slope, slope, t);
    }

    // The slope (x1^2 + x1 x2 + x2^2 + a) / (y1 + y2) serves sums and doubles alike (E. Brier, M. Joye, "Weierstrass
    // elliptic curves and side-channel attacks", 2002). Where it is 0 / 0, (y1 - y2) / (x1 - x2) takes its place, with
    // y2 = -y1; where that is 2 y1 / 0, the points are opposite.
    void finish(jacobian& r, const sum& s) const noexcept
    {
        const Field& f = *field_;
        element x_sum, rise, run, t, u;
        f.add(x_sum, s.u1, s.u2);
        f.add(run, s.s1, s.s2);
        f.sqr(rise, x_sum);
        f.mul(t, s.u1, s.u2);
        f.sub(rise, rise, t);
        if (kind_ != coefficient_kind::zero) {
            f.sqr(t, s.zz);
            if (kind_ == coefficient_kind::minus_three) {
                f.twice(u, t);
                f.add(t, t, u);
                f.sub(rise, rise, t);
            } else {
                f.mul(t, t, *a_);
                f.add(rise, rise, t);
            }
        }
        const limb_mask opposite = Field::is_zero(run), undefined = opposite & Field::is_zero(rise);
        f.twice(t, s.s1);
        Field::set_if(undefined, rise, t);
        f.sub(t, s.u1, s.u2);
        Field::set_if(undefined, run, t);

        element square, fourth;
        f.sqr(square, run);
        f.sqr(fourth, square); // y1 + y2 times the cube of the run: 0 for opposite ordinates
        Field::set_if(opposite, fourth, element{});
        f.mul(u, x_sum, square);
        f.sqr(t, rise);
        f.sub(r.x, t, u);
        f.sub(u, u, r.x);
        f.sub(u, u, r.x);
        f.mul(u, u, rise);
        f.sub(u, u, fourth);
        f.half(r.y, u);
        f.mul(r.z, run, s.z);
    }

    // The ordinary chord. p is the first point again, for the case that it is to be doubled.
    void finish_open(jacobian& r, const jacobian& p, const difference& d) const noexcept
    {
        const Field& f = *field_;
        if (Field::is_zero(d.run) != 0) {
            if (Field::is_zero(d.rise) != 0) {
                double_point(r, p);
            } else {
                r = {f.one(), f.one(), {}};
            }
            return;
        }
        element square, cube, t;
        f.sqr(square, d.run);
        f.mul(cube, square, d.run);
        f.mul(square, square, d.x1);
        f.mul(r.z, d.z, d.run);
        f.sqr(t, d.rise);
        f.sub(t, t, cube);
        f.sub(t, t, square);
        f.sub(r.x, t, square);
        f.sub(square, square, r.x);
        f.mul(square, square, d.rise);
        f.mul(cube, cube, d.y1);
        f.sub(r.y, square, cube);
    }

    const Field* field_;
    const element* a_;
    coefficient_kind kind_;
};

} // namespace zrc
