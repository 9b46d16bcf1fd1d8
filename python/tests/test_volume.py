"""gravok.volume on arrays and on sources: the same members as `gravok volume --json`,
origins and units of two sources brought together, boundaries in either layout, and
the library's refusals as ValueError."""

import numpy as np
import pytest

import gravok


def square(side, z, x0=0.0, y0=0.0):
    """Two triangles over a square, at the heights z(x, y) of its corners."""
    x = np.array([x0, x0 + side, x0 + side, x0])
    y = np.array([y0, y0, y0 + side, y0 + side])
    return x, y, np.array([z(a, b) for a, b in zip(x, y)]), np.array([[0, 1, 2], [0, 2, 3]])


class Surface(gravok.DataSource):
    """A source of one mesh, local to `origin`, in the given units."""

    def __init__(self, mesh, origin=(0.0, 0.0, 0.0), linear=9, volume=9):
        super().__init__()
        self.mesh, self.origin = mesh, origin
        self.linear, self.volume = linear, volume

    def get_eg_data(self):
        x, y, z, t = self.mesh
        return x, y, z, t, None

    def get_xorig(self): return self.origin[0]
    def get_yorig(self): return self.origin[1]
    def get_zorig(self): return self.origin[2]
    def get_linear_unit(self): return gravok.Unit1.known(self.linear)
    def get_volume_unit(self): return gravok.Unit3.known(self.volume)


def test_members_and_closed_forms_on_arrays():
    base = square(10, lambda x, y: 0.0)
    top = square(10, lambda x, y: x - 4)  # one plane: the zero line at x = 4
    r = gravok.volume(base, top)
    expected = {"cut": 80.0, "fill": 180.0, "net": 100.0, "cut_area": 40.0,
                "fill_area": 60.0, "area": 100.0, "base_layered_area": 0.0,
                "top_layered_area": 0.0}
    for key, value in expected.items():
        assert r[key] == pytest.approx(value, abs=1e-9), key
    assert r["unit"] == "unknown" and "volume_unit" not in r
    swapped = gravok.volume(top, base)
    assert (swapped["cut"], swapped["fill"]) == pytest.approx((r["fill"], r["cut"]))


@pytest.mark.parametrize("boundary", [
    ([0, 5, 5, 0], [0, 0, 10, 10]),                    # (xs, ys)
    np.array([[0, 0], [5, 0], [5, 10], [0, 10]]),      # (n, 2) corners
    np.array([[0, 5, 5, 0, 0], [0, 0, 10, 10, 0]]),    # 2 x n, closed
])
def test_boundary_in_either_layout(boundary):
    base = square(10, lambda x, y: 0.0)
    top = square(10, lambda x, y: x - 4)
    r = gravok.volume(base, top, boundary=boundary)
    assert (r["area"], r["cut"], r["fill"]) == pytest.approx((50.0, 80.0, 5.0))


def test_sources_meet_in_the_base_origin_and_unit():
    # The base in US survey feet at a state-plane origin, cubic yards for volumes; the
    # top in metres at another origin, one survey foot above it over the same square.
    survey_foot = 1200.0 / 3937.0
    origin = (2000000.0, 500000.0, 100.0)
    base = Surface(square(100, lambda x, y: 0.0), origin, linear=7, volume=5)
    top_mesh = square(100 * survey_foot, lambda x, y: 1.0 * survey_foot,
                      x0=17.0, y0=-3.0)
    top_origin = (origin[0] * survey_foot - 17.0, origin[1] * survey_foot + 3.0,
                  origin[2] * survey_foot)
    top = Surface(top_mesh, top_origin, linear=2, volume=2)
    r = gravok.volume(base, top)
    assert r["unit"] == "surveyfoot" and r["volume_unit"] == "yard"
    assert r["area"] == pytest.approx(10000.0, rel=1e-9)
    assert r["fill"] == pytest.approx(10000.0, rel=1e-9)
    yard_in_survey_feet = 0.9144 / survey_foot
    assert r["in_volume_unit"]["fill"] == pytest.approx(10000.0 / yard_in_survey_feet**3, rel=1e-9)


def test_refusals_carry_the_reason():
    good = square(1, lambda x, y: 0.0)
    x, y, z, _ = good
    cases = [
        ((x, y, z, [[0, 1, 9]]), None, ValueError, "top mesh: triangle 0 names vertex 9"),
        ((x, y, np.array([0.0, np.nan, 0, 0]), [[0, 1, 2]]), None, ValueError,
         "vertex 1 (of triangle 0) has a coordinate that is not finite"),
        (good, ([0, 1, 0, 1], [0, 0, 1, 1]), ValueError, "boundary: it is not a simple polygon"),
        (good, [1, 2, 3], ValueError, "boundary must be"),
        ("site.xml", None, TypeError, "top must be a DataSource"),
    ]
    for top, boundary, error, words in cases:
        with pytest.raises(error) as raised:
            gravok.volume(good, top, boundary=boundary)
        assert words in str(raised.value)
