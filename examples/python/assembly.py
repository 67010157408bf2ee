"""An assembly by paths, with placements, materials and attributes.

Usage: assembly.py [FILE]
"""

import sys

import mekapi2

path = sys.argv[1] if len(sys.argv) > 1 else "assembly.mek"

cube = [[x, y, z] for z in (0, 1) for y in (0, 1) for x in (0, 1)]
corners = [0, 1, 3, 2, 4, 5, 7, 6]

with mekapi2.Model.create(path, overwrite=True, tool_name="assembly") as model:
    # A path that ends in "/" leads to a group and may have attributes; any other to a shape.
    ids = model.add_assembly_components(
        {
            "/car/body/": {"Material": "steel", "Mass": 850.5, "Parts": 2},
            "/car/body/cabin": None,
            "/car/body/bonnet": None,
            "/car/wheels/": {"Material": "rubber", "Spare": True},
            "/car/wheels/left": None,
        }
    )
    shapes = [ids[path] for path in ids if not path.endswith("/")]

    # The same cube for all of them; their groups place them.
    model.add_array("Coordinates", cube, shapes)
    model.add_array("Connectivity2", corners, shapes)
    model.add_array("Polylength2", [8], shapes)

    model.set_node_data(ids["/car/body/"], {"Translation": (0, 0, 0.5), "Scale": (4, 2, 1)})
    model.set_node_data(ids["/car/wheels/"], {"Translation": (1, 0, 0), "Scale": (0.5, 0.25, 0.5)})

    # A shape's look is set by the id of its geometry.
    model.set_node_data(
        ids["/car/body/cabin"],
        {"DiffuseColor": (0.1, 0.3, 0.8), "Transparency": 0.5, "Shininess": 0.9},
    )
    model.set_node_data(ids["/car/wheels/left"], {"DiffuseColor": (0.1, 0.1, 0.1)})

    # Nodes are found again by their paths, and attributes can be added later.
    root = model.get_node_id("/car")
    model.set_node_data(root, attributes={"Author": "example", "Scale 1 to": 1})

print(f"{path} written")
