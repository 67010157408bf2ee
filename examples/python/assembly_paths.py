"""An assembly from a list of paths, with placements, materials and attributes.

Usage: assembly_paths.py [FILE]
"""

import sys

import mekapi2
import numpy as np

path = sys.argv[1] if len(sys.argv) > 1 else "assembly_paths.mek"

# A path that ends in the separator is a group, which can have attributes. Other paths are shapes.
# Missing groups are added.
parts = {
    "/table/board/": {"Material": "oak", "Mass": 12.5},
    "/table/board/plate": None,
    "/table/legs/front/": {"Material": "steel", "Mass": 1.5},
    "/table/legs/front/tube": None,
    "/table/legs/back/": {"Material": "steel", "Mass": 1.5},
    "/table/legs/back/tube": None,
}
square = [[0, 0], [1, 0], [1, 1], [0, 1]]
cube = np.array([[x, y, z] for z in (0, 1) for x, y in square], np.float32)
placements = {
    "/table/board/": {"Translation": (0, 0, 0.7), "Scale": (1.2, 0.6, 0.05)},
    "/table/legs/front/": {"Translation": (0, 0, 0), "Scale": (0.1, 0.6, 0.7)},
    "/table/legs/back/": {"Translation": (1, 0, 0), "Scale": (0.1, 0.6, 0.7)},
}
wood = {"DiffuseColor": (0.6, 0.4, 0.2), "Shininess": 0.1}
metal = {
    "DiffuseColor": (0.7, 0.7, 0.75),
    "SpecularColor": (1, 1, 1),
    "AmbientIntensity": 0.5,  # times the diffuse colour, which is set first
}

with mekapi2.Model(path, overwrite=True, tool_name="assembly_paths") as model:
    ids = model.add_assembly_components(parts)

    # All three shapes have the mesh of one cube.
    plate, front, back = shapes = [ids[part] for part in parts if not part.endswith("/")]
    model.add_array("Coordinates", cube, shapes)
    model.add_array("Connectivity2", range(8), shapes)
    model.add_array("Polylength2", [8], shapes)

    # The placement of a group applies to all nodes below it: "/table/legs" moves both legs.
    for group, placement in placements.items():
        model.set_node_data(ids[group], placement)
    model.set_node_data(model.get_node_id("/table/legs"), {"Translation": (0.05, 0, 0)})

    # The material of a shape is set by the id of its geometry.
    model.set_node_data(plate, wood)
    model.set_node_data(front, metal)
    model.set_node_data(back, metal)

    # Attributes can be added until the end of the block.
    about = {"Drawing": "T-100", "Revision": 3}
    model.set_node_data(model.get_node_id("/table"), attributes=about)
