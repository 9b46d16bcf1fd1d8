"""Records, units and the catalogue as Python sees them."""

import numpy as np
import pytest

import gravok


@pytest.mark.parametrize("make", [
    lambda: gravok.gravok_grading_element(attributes=bytes(311)),
    lambda: gravok.gravok_grading_element(trailer=bytes(121)),
    lambda: gravok.gravok_grading_element(location=[1.0] * 5),
    lambda: gravok.gravok_objective(bytes(23)),
    lambda: gravok.gravok_triangle_info(bytes(41)),
    lambda: gravok.gravok_line_3d.from_bytes(bytes(47)),
])
def test_blocks_of_the_wrong_length_raise(make):
    with pytest.raises(ValueError):
        make()


def test_element_location_is_a_view_and_the_image_is_exact():
    e = gravok.gravok_grading_element(location=[1, 2, 3, 4, 5, 6])
    e.location[0] += 10
    assert e.location.tolist() == [11, 2, 3, 4, 5, 6]
    image = e.to_bytes()
    assert len(image) == 480 and np.frombuffer(image[312:360]).tolist() == e.location.tolist()
    assert gravok.gravok_grading_element.from_bytes(image) == e
    assert repr(e) == "gravok_grading_element(location=[11, 2, 3, 4, 5, 6])"
    gravok.initge(e)
    assert e.to_bytes() == bytes(480)


def test_units_and_catalogue():
    foot = gravok.Unit1.known(4)
    assert (foot.name, foot.abbreviation, foot.conversions[2]) == ("foot", "ft", 0.3048)
    assert gravok.find_unit("ft²", 2).type == 4 and gravok.find_unit("ft²", 3) is None
    assert gravok.convert(10.0, foot, gravok.Unit1.known(2)) == 10.0 * 0.3048
    assert gravok.Unit3.unknown().conversions == [1.0] * 9
    assert gravok.Unit2().conversions == []
    assert gravok.ParkingLot not in gravok.allElementTypes()
    assert gravok.get_constraint_type("Exclusion zone") == (gravok.SurfaceZone, gravok.Exclusion)
    assert gravok.get_constraint_type("my Pond 3") == (gravok.Pond, None)
    assert gravok.get_constraint_type("") is None
    assert gravok.hashGradingElementUid("") == -3750763034362895579  # FNV-1a offset basis


def test_units_travel_through_the_complete_transfer(json_plugin, example_problem):
    class UnitStore(gravok.DataStore):
        def set_transferred_units(self, linear, area, volume):
            self.units = (linear, area, volume)

        def set_hostcad_version(self, version):
            self.version = version

    store = UnitStore()
    store.copyAllFrom(gravok.createDataSource(example_problem))
    linear, area, volume = store.units
    assert (linear.type, linear.name, linear.abbreviation) == (2, "meter", "m")
    assert np.allclose(linear.conversions[:8], gravok.Unit1.known(2).conversions[:8])
    assert area.type == 9 and isinstance(volume, gravok.Unit3)
    assert store.version == "SiteDesigner 12.4"


COMPLEX_FIELDS = ["double_lists_%d" % i for i in range(1, 12)] + ["int_lists"]


@pytest.mark.parametrize("field", COMPLEX_FIELDS)
def test_complex_data_equal_exactly_when_every_field_is(field):
    a, b = gravok.ComplexElementData(), gravok.ComplexElementData()
    for name in COMPLEX_FIELDS:
        setattr(a, name, [[1]])
        setattr(b, name, [[1]])
    assert a == b
    setattr(b, field, [[2]])
    assert a != b
