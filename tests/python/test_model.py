"""The methods of Model that the examples do not cover."""

import builtins
import gc
import os
import re
import sys
import threading
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import mekapi2
import mekfile
import numpy as np
import pytest
from mekapi2 import Model, NodeType, PropertyType, Step

TREE = r"""1 Group "plate"
translation 0 0 0  rotation 0 0 1 0  scale 1 1 1  root flag
"true" = 1
translation 0 0 0  rotation 1 0 0 0  scale 1 2 4
"a" = 1
diffuse 0.5 0.25 0 1  specular 0 0 0 1
transparency 1  shininess 0.2  flag off
[0] "R\x1Es1" type 12: 1 x 1 float, 1.5 to 1.5, vibration
"Category" = "Vibration"
"Time" = 1f
[1] "R\x1Es2" type 12: link to [0] of node 4, vibration
[0] "R\x1Es1" type 12: link to [0] of node 4, vibration"""


def test_names_hide_no_builtins():
    assert not set(mekapi2.__all__) & set(dir(builtins))


def test_accepts_all_forms_of_names_paths_and_values(path):
    with Model(path, tool_name="solver", tool_version="7") as model:
        assert model.add_node("FlaggedRootGroup", "plate", {"true": True}) == 1
        assert model.add_node(NodeType.Group, "part") == 2
        assert model.add_node(4, "surface") == 4
        model.set_current_node(2)
        model.move_to_parent()
        assert model.add_node("shape", "other") == 6
        assert model.get_node_id(["plate", "part", "surface", "surface"]) == 4
        assert model.get_node_id("|plate|none", "|") == 0
        model.set_node_data(2, {"Scale": (1, 2, 4), PropertyType.Rotation: np.eye(4)[0]}, {"a": 1})
        material = {"diffuse_color": [0.5, 0.25, 0], "Transparency": 1, "MaterialFlag": False}
        model.set_node_data(4, material)
        steps = ["s1", Step("s2", {"Time": 2.0})]
        more = {"Category": "Vibration", "Time": 1.0}
        ids = np.array([4, 6])
        model.add_array("ResultA1", [1.5], ids, name="R", steps=steps, attributes=more)
        model.add_array("coordinates", np.eye(3), 4)

    head, _, tree = mekfile.shown(path)
    assert head.endswith(' by "solver" "7"')
    assert set(TREE.split("\n")) - {line.strip() for line in tree.split("\n")} == set()


def test_assembly_ids_have_the_order_of_the_paths(path):
    with Model(path) as model:
        assert model.add_assembly_components([]) == []
        assert model.add_assembly_components(["/r/z", "/r/g/", "", "/r"]) == [3, 4, 0, 1]
        by_path = model.add_assembly_components({":r:z": None, ":r:g:": {"a": 1}, ":r:b": {}}, ":")
    assert list(by_path.items()) == [(":r:z", 3), (":r:g:", 4), (":r:b", 6)]


def test_the_id_of_a_shape_means_its_geometry(path):
    with Model.create(path, overwrite=False, tool_name="a", tool_version="b") as model:
        model.add_assembly_components(["/r/a/s", "/r/t", "/r/a/"])
        model.add_node("Shape", "u")
        for shape in ("/r/a/s", "/r/t", "/r/a/u"):
            model.add_array("NodeIds", [1, 2], model.get_node_id(shape))
    assert mekfile.tree(path).count('"Node Ids" type 12: 2 x 1') == 3


def test_accepts_unicode_paths_of_all_types(tmp_path):
    path = tmp_path / "Modell – 模型 🙂.mek"
    for form in (str, Path, os.fsencode):
        with Model(form(path), overwrite=True) as model:
            model.add_node("RootGroup", form.__name__)
        assert f'"{form.__name__}"' in mekfile.tree(path)


def test_the_file_is_complete_after_an_exception_and_without_close(path):
    with pytest.raises(ZeroDivisionError):
        with Model(path) as model:
            model.add_node("RootGroup", "before")
            1 / 0
    assert model.closed and "before" in mekfile.tree(path)
    with pytest.warns(ResourceWarning):
        Model(path, overwrite=True).add_node("RootGroup", "not closed")
        gc.collect()
    assert "not closed" in mekfile.tree(path)


def test_a_file_is_replaced_only_by_a_complete_one(path):
    path.write_bytes(b"old")
    options = {"overwrite": True, "replace_when_complete": True}
    with pytest.raises(KeyError), Model(path, **options) as failing:
        failing.add_node("RootGroup", "new")
        raise KeyError
    with pytest.warns(ResourceWarning):
        Model(path, **options)
        gc.collect()
    assert path.read_bytes() == b"old" and os.listdir(path.parent) == [path.name]
    with Model(path, **options) as model:
        model.add_node("RootGroup", "new")
    assert '1 Group "new"' in mekfile.tree(path)


def test_other_threads_run_while_arrays_are_compressed(path, monkeypatch):
    """With this switch interval another thread runs only if the GIL is released."""
    monkeypatch.setenv("MEKWRITER_DEFAULT_BLOCK_SIZE", "1000")
    noise = np.random.default_rng(1).random(1 << 21, np.float32)
    may_run, has_run = threading.Lock(), []
    may_run.acquire()
    thread = threading.Thread(target=lambda: (may_run.acquire(), has_run.append(True)))
    interval = sys.getswitchinterval()
    with Model(path) as model:
        (shape,) = model.add_assembly_components(["/r/s"])
        model.add_array("ResultA1", [1.0], shape, name="first")
        thread.start()
        sys.setswitchinterval(1e6)
        try:
            may_run.release()
            assert has_run == []
            model.add_array("ResultA1", noise, shape, name="noise")
            model.add_array("ResultA1", noise, shape, name="more")
            assert has_run == [True]
        finally:
            sys.setswitchinterval(interval)
            thread.join()


def test_threads_share_a_model_one_at_a_time(path, monkeypatch):
    monkeypatch.setenv("MEKWRITER_DEFAULT_BLOCK_SIZE", "1000")

    def add(number):
        barrier.wait()
        for step in range(20):
            values = np.full(100_000, number * 100 + step)
            model.add_array("ResultA1", values, shapes[number], name="R", steps=str(step))

    with Model(path) as model:
        shapes = model.add_assembly_components([f"/r/{number}" for number in range(4)])
        barrier = threading.Barrier(4)
        with ThreadPoolExecutor(4) as pool:
            list(pool.map(add, range(4)))

    values = re.findall(r"100000 x 1 unsigned, (\d+) to \1\n", mekfile.tree(path))
    assert values == [str(shape * 100 + step) for shape in range(4) for step in range(20)]
