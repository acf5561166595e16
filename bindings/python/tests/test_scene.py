import json
import math
import pathlib
import pickle
import re
import sys
import webbrowser

import numpy as np
import pytest

import scapi
from scapi import Verdict, errors


def row(cube, gaps, **options):
    """Unit cubes side by side in x, with gaps between them."""
    scene, x = scapi.Scene(), 0.0
    for gap in [0, *gaps]:
        x += gap
        scene.add(cube, scapi.Pose.translation(x, 0, 0), **options)
        x += 1
    return scene


def test_pairs_that_are_missed_or_reported_twice(cube):
    scene = row(cube, [0.5, -0.5, 2])
    arm = scene.add(cube, scapi.Motion(scapi.Pose.translation(4, 5, 0), path=(0, -10, 0)),
                      name="arm")
    result = scene.check()
    assert [(p.a.number, p.b.number) for p in result.pairs] == [(1, 2), (3, arm)]
    assert result.verdict is Verdict.CONTACT and result and result.pair_count == 10
    assert result.count == 2 and not result.truncated
    resting, moving = (pair.impact for pair in result.pairs)
    assert resting.verdict is Verdict.START_CONTACT or resting.t_contact == 0
    assert moving.t_contact == pytest.approx(0.4, abs=1e-6)
    assert scene.check(limit=1).truncated and scene.check(limit=0).count == 2


def test_pairs_that_may_touch_but_are_reported(cube):
    assert row(cube, [-0.5, -0.5], group=7).check().verdict is Verdict.CLEAR
    scene = row(cube, [-0.5, 3, -0.5])
    scene.ignore(0, "body 1")
    assert [(p.a.name, p.b.name) for p in scene.check().pairs] == [("body 2", "body 3")]
    scene.move("body 3", scapi.Pose.translation(90, 0, 0))
    assert not scene.check()
    scene.move(3, scapi.Motion(scapi.Pose.translation(90, 0, 0), (-90, 0, 0)))
    copy = pickle.loads(pickle.dumps(scene))
    assert [(p.a.name, p.impact) for p in copy.check().pairs] == [
        (p.a.name, p.impact) for p in scene.check().pairs] != []


def test_an_undecided_pair_that_counts_as_clear(cube):
    result = row(cube, [0.25]).check(budget=1, tolerance=0.3)
    assert result.verdict is Verdict.INDETERMINATE and result.count == 1
    with pytest.raises(scapi.IndeterminateError):
        bool(result)


@pytest.mark.parametrize("misuse, error", [
    (lambda s, m: s.move(9, None), errors.BodyError),
    (lambda s, m: s.move("nobody", None), errors.BodyError),
    (lambda s, m: s.ignore(0, -1), errors.BodyError),
    (lambda s, m: s.add(m, name="body 0"), ValueError),
    (lambda s, m: s.add(m, name=5), TypeError),
    (lambda s, m: s.add(m, np.eye(4) * np.nan), ValueError),
    (lambda s, m: s.add(m, np.diag([2.0, 2, 2, 1])), errors.PoseScaledError),
    (lambda s, m: s.move(2**32, scapi.Pose.translation(0.5, 0, 0)), OverflowError),
    (lambda s, m: s.add(m, group=2**32 + 1), OverflowError),
    (lambda s, m: s.add("cube.stl"), TypeError),
    (lambda s, m: s.check(limit=-1), ValueError),
    (lambda s, m: s.check(tolerance=math.inf), errors.ToleranceError),
])
def test_misuse_that_leaves_a_broken_scene(misuse, error, cube):
    scene = row(cube, [1])
    with pytest.raises(error):
        misuse(scene, cube)
    assert len(scene) == 2 and scene.check().pair_count == 1 and not scene.check()


def test_use_of_a_scene_within_its_check(cube):
    scene, seen = row(cube, [-0.5, -0.5]), []

    def progress(done, of):
        seen.append((done, of))
        for use in (lambda: scene.add(cube), scene.check, lambda: scene.move(0, None)):
            with pytest.raises(errors.SceneBusyError):
                use()
        assert scapi.within(cube, cube)  # the thread's own query is free

    assert scene.check(progress=progress).count == 3  # the outer ones touch
    assert seen[0] == (0, 3) and seen[-1] == (3, 3) and len(scene) == 3


def test_an_exception_of_a_progress_callback_that_is_lost(cube, shifts):
    def stop(done, of):
        raise KeyError("stop")

    scene = row(cube, [-0.5])
    for job in (lambda: scene.check(progress=stop),
                lambda: scapi.within_many(cube, cube, shifts, progress=stop)):
        with pytest.raises(KeyError, match="stop"):
            job()
    assert scene.check()


def scene_in(page):
    return json.loads(re.search(r'\{"format".*\}', page.text).group())


def test_a_picture_that_shows_another_scene(cube, tmp_path):
    scene = row(cube, [1, 1])
    scene.add(cube, scapi.Motion(scapi.Pose.translation(0, 5, 0), (0, -4.5, 0), (1, 0, 0),
                                 2 * math.pi), name="</script>", group=2)
    result = scene.check()
    shown = scene_in(scene.page(result))
    counts = [len(shown[key]) for key in ("meshes", "bodies", "steps", "marks")]
    assert counts == [1, 4, 21, result.count]
    assert shown["verdict"]["status"] == "hit" and shown["bodies"][3]["name"] == "</script>"
    mark, impact = shown["marks"][0], result.pairs[0].impact
    assert mark["point"] == list(impact.point_a) and mark["bodies"] == [0, 3]
    assert mark["step"] == pytest.approx(20 * impact.t_contact)
    scene.save_html(tmp_path / "scene.html")
    text = (tmp_path / "scene.html").read_text("utf-8")
    assert "@SCAPI_SCENE@" not in text and "not checked" in text
    assert text.count("</script>") == scene.page().text.count("</script>") == row(
        cube, [1]).page().text.count("</script>")
    assert scene._repr_html_().startswith("<iframe srcdoc=") and "</script>" not in (
        scene._repr_html_())


@pytest.mark.parametrize("options, status", [
    ({}, "clear"), ({"budget": 1, "tolerance": 0.3}, "undecided"), ({"tolerance": 0.3}, "hit")])
def test_a_picture_that_looks_clear_and_is_not(options, status, cube):
    scene = row(cube, [0.25])
    assert scene_in(scene.page(scene.check(**options)))["verdict"]["status"] == status


def test_a_page_that_opens_in_a_notebook_too(cube, monkeypatch, capsys):
    opened = []
    monkeypatch.setattr(webbrowser, "open", lambda address: opened.append(address))
    scene = row(cube, [1])
    scene.show()
    path = pathlib.Path(opened[0].removeprefix("file://"))
    assert "scapi-scene" in path.read_text("utf-8") and str(path) in capsys.readouterr().err
    path.unlink()
    monkeypatch.setitem(sys.modules, "ipykernel", object())
    assert scene.show()._repr_html_().startswith("<iframe") and len(opened) == 1
