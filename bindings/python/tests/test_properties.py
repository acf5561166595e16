"""What holds for any shapes and places, on seeded draws. The shapes are convex where a separating
direction serves as the twin of a distance."""

import math

import numpy as np
import pytest

import scapi
from scapi import Verdict
from scapi.classic import Solid

SEED = 20
ROUND = 1e-5  # of coordinates up to 20 in single precision


def shapes():
    return [scapi.Mesh.box((-1, -2, -0.5), (1, 2, 0.5)), scapi.Mesh.cylinder(1.5, 2, segments=12),
            scapi.Mesh.cone(2, 0, 3, segments=7),
            scapi.Mesh.revolved([(0, 0), (1, 0.2), (1.2, 1), (0, 2)], segments=9)]


def draws(count, spread):
    """(random, a, b, pose of a, pose of b)"""
    random, made = np.random.default_rng(SEED), shapes()
    for _ in range(count):
        a, b = random.choice(len(made), 2)
        poses = [scapi.Pose.translation(*random.uniform(-spread, spread, 3))
                 @ scapi.Pose.rotation(random.normal(size=3), random.uniform(0, math.pi))
                 for _ in range(2)]
        yield random, made[a], made[b], *poses


def gap_along(direction, a, b, pose_a, pose_b):
    """Between the bodies as seen along a unit vector: never more than their distance."""
    reach_a = (pose_a.apply(a.vertices) @ direction).max()
    return (pose_b.apply(b.vertices) @ direction).min() - reach_a


def sampled_distance(random, a, b, pose_a, pose_b):
    """Between points of the surfaces: never less than their distance."""
    clouds = []
    for mesh, pose in ((a, pose_a), (b, pose_b)):
        weights = random.dirichlet((1, 1, 1), (20, mesh.triangle_count))
        points = np.einsum("stc,tcx->stx", weights, mesh.triangles).reshape(-1, 3)
        clouds.append(pose.apply(points))
    return min(np.linalg.norm(clouds[1] - point, axis=1).min() for point in clouds[0])


def test_an_interval_that_does_not_hold_the_distance():
    apart = 0
    for random, *question in draws(60, 4):
        answer = scapi.distance(*question)
        assert answer.lower <= sampled_distance(random, *question) + ROUND
        if answer.verdict is not Verdict.CLEAR:
            continue
        apart += 1
        between = np.subtract(answer.point_b, answer.point_a)
        length = np.linalg.norm(between)
        assert answer.lower - ROUND <= length <= answer.upper + ROUND
        # Of convex bodies the closest points span the separating direction, and the gap is tight.
        assert gap_along(between / length, *question) == pytest.approx(length, abs=ROUND)
    assert 10 < apart < 60  # both kinds were drawn


def on_triangle(mesh, number, pose, point):
    """How far a point is from the plane of a triangle, and how far outside of its sides."""
    corners = pose.apply(mesh.triangles[number])
    normal = np.cross(corners[1] - corners[0], corners[2] - corners[0])
    normal /= np.linalg.norm(normal)
    sides = np.roll(corners, -1, axis=0) - corners
    outside = [np.cross(side, normal) @ (point - corner) / np.linalg.norm(side)
               for side, corner in zip(sides, corners)]
    return abs(normal @ (point - corners[0])), max(outside)


def test_points_that_are_not_on_the_triangles_named():
    for _, a, b, pose_a, pose_b in draws(40, 4):
        answer = scapi.distance(a, b, pose_a, pose_b)
        for body in ((a, answer.triangle_a, pose_a, answer.point_a),
                     (b, answer.triangle_b, pose_b, answer.point_b)):
            off_plane, outside = on_triangle(*body)
            assert off_plane < ROUND and outside < ROUND


def test_answers_that_depend_on_the_order_or_the_place_of_the_pair():
    elsewhere = scapi.Pose.translation(3, -2, 1) @ scapi.Pose.rotation((1, 2, 3), 1.1)
    for _, a, b, pose_a, pose_b in draws(40, 3):
        answer = scapi.distance(a, b, pose_a, pose_b)
        for other in (scapi.distance(b, a, pose_b, pose_a),
                      scapi.distance(a, b, elsewhere @ pose_a, elsewhere @ pose_b),
                      scapi.distance(a, b, None, pose_a.inverse() @ pose_b)):
            assert other.lower <= answer.upper + ROUND and answer.lower <= other.upper + ROUND
            if answer.lower > ROUND:
                assert other.verdict is answer.verdict


def test_an_impact_that_comes_after_contact():
    hits = 0
    for random, a, b, pose_a, pose_b in draws(40, 4):
        motions = [scapi.Motion(pose, random.uniform(-6, 6, 3), random.normal(size=3),
                                random.uniform(-4, 4), random.uniform(-1, 1, 3))
                   for pose in (pose_a, pose_b)]
        impact = scapi.time_of_impact(a, b, *motions, tolerance=0.05)
        times = np.linspace(0, 1, 80)
        seen = scapi.within_many(a, b, *([motion.at(t) for t in times] for motion in motions),
                                 tolerance=0.05 - ROUND)
        touched = times[~seen.clear]
        if impact.verdict is Verdict.CLEAR:
            assert touched.size == 0
        else:
            hits += 1
            assert not (touched < impact.t_clear).any()
        if impact.verdict is Verdict.CONTACT:
            there = scapi.distance(a, b, motions[0].at(impact.t_contact),
                                   motions[1].at(impact.t_contact))
            assert there.lower <= 0.055 + ROUND
    assert 5 < hits < 40


def test_contacts_that_are_not_those_of_single_pairs():
    for _, a, b, pose_a, pose_b in draws(15, 1.5):
        found = scapi.contacts(a, b, pose_a, pose_b, tolerance=0.1)
        pairs = set(zip(found.triangle_a.tolist(), found.triangle_b.tolist()))
        assert len(pairs) == len(found) and (found.lower <= found.upper).all()
        for i, one in enumerate(a.triangles):
            for j, other in enumerate(b.triangles):
                alone = scapi.distance(scapi.Mesh.from_arrays(one), scapi.Mesh.from_arrays(other),
                                       pose_a, pose_b, surfaces_only=True)
                if alone.upper < 0.1 - ROUND:
                    assert (i, j) in pairs
                elif alone.lower > 0.11 + ROUND:
                    assert (i, j) not in pairs


def test_a_scene_that_is_not_all_its_pairs():
    random, made = np.random.default_rng(SEED), shapes()
    scene, motions = scapi.Scene(), []
    for number in range(14):
        motions.append(scapi.Motion(scapi.Pose.translation(*random.uniform(-6, 6, 3)),
                                    random.uniform(-3, 3, 3), random.normal(size=3), 1.0))
        scene.add(made[number % 4], motions[-1])
    found = {(pair.a.number, pair.b.number): pair.impact.verdict
             for pair in scene.check(tolerance=0.05).pairs}
    for i in range(14):
        for j in range(i + 1, 14):
            alone = scapi.time_of_impact(made[i % 4], made[j % 4], motions[i], motions[j],
                                         tolerance=0.05)
            assert found.get((i, j), Verdict.CLEAR) is alone.verdict
    assert 0 < len(found) < 91


def test_a_contact_of_the_slots_far_from_any():
    random, hits = np.random.default_rng(SEED), 0
    corners = (-1, -2, -0.5), (1, 2, 0.5)
    mesh = scapi.Mesh.box(*corners)
    with Solid.box(*corners) as a, Solid.box(*corners) as b:
        for _ in range(60):
            pose = (scapi.Pose.translation(*random.uniform(-2.5, 2.5, 3))
                    @ scapi.Pose.rotation(random.normal(size=3), random.uniform(0, math.pi)))
            pose = scapi.Pose(np.linalg.inv(np.linalg.inv(pose.matrix)))
            b.place(pose)
            if a.is_hit_by(b):
                hits += 1
                assert scapi.distance(mesh, mesh, None, pose).lower < 1e-3
    assert 10 < hits < 60
